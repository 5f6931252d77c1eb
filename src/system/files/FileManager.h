// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/CoreFoundation.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// File systems as the installed machine tells of them. All operations may be called from any thread.
namespace vantorel::system {

inline constexpr std::string_view NSFileSystemSize = "NSFileSystemSize";
inline constexpr std::string_view NSFileSystemFreeSize = "NSFileSystemFreeSize";

class FileManager {
public:
    [[nodiscard]] static FileManager& defaultManager();

    /// The paths of all mounted volumes, in the order of mounting; absent when they cannot be had. There are no
    /// resource keys and no options.
    [[nodiscard]] std::optional<std::vector<std::string>>
    mountedVolumeURLsIncludingResourceValuesForKeys(std::nullptr_t keys, std::uint32_t options) const;

    /// `NSFileSystemSize` and `NSFileSystemFreeSize`, integers in bytes, of the file system that `path` lies on; null
    /// on an error.
    [[nodiscard]] PropertyTableRef attributesOfFileSystemForPath(const std::string& path) const;

    /// Whether the file system that `path` lies on can be written to; false when there is none.
    [[nodiscard]] bool isWritableFileAtPath(const std::string& path) const;
};

/// A folder for files that need not last, ending in "/".
[[nodiscard]] std::string NSTemporaryDirectory();

} // namespace vantorel::system
