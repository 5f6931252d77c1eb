// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/CoreFoundation.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vantorel::system {

/// The identifier of the library's own bundle.
inline constexpr std::string_view libraryBundleIdentifier = "org.quillmere.Vantorel";
inline constexpr std::string_view CFBundleShortVersionString = "CFBundleShortVersionString";

/// Where the bundle of a kernel extension lies on the installed machine; absent when it is not known.
[[nodiscard]] std::optional<std::string> KextManagerCreateURLForBundleIdentifier(CFAllocatorRef allocator,
                                                                                 std::string_view identifier);

/// A folder of resources, or the library's own bundle, which is built in.
class Bundle {
public:
    /// The bundle at this folder; absent when there is no such folder.
    [[nodiscard]] static std::optional<Bundle> bundleWithPath(const std::string& path);
    /// The library's own bundle; absent for every other identifier.
    [[nodiscard]] static std::optional<Bundle> bundleWithIdentifier(std::string_view identifier);

    /// The path of an image of the bundle by its name without extension: the first of NAME.icns, NAME.png, NAME.tiff
    /// and NAME in Contents/Resources, Resources or the folder itself. Absent when there is none, and for a name that
    /// holds a
    /// "/".
    [[nodiscard]] std::optional<std::string> pathForImageResource(std::string_view name) const;

    /// What the bundle says of itself: `CFBundleIdentifier` and `CFBundleShortVersionString` of the library's own; null
    /// for any other.
    [[nodiscard]] PropertyTableRef infoDictionary() const { return info_; }

private:
    Bundle(std::string path, PropertyTableRef info) : path_(std::move(path)), info_(std::move(info)) {}

    std::string path_;
    PropertyTableRef info_;
};

} // namespace vantorel::system
