// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Reading of small kernel files. Nothing throws but for want of memory: a file that is not there, cannot be read or
/// vanishes while it is read is absent.
namespace vantorel::machines {

/// Key and value as in a `uevent` file and in the database of udev.
using DeviceProperties = std::map<std::string, std::string, std::less<>>;

/// The value under `key`; empty when it is missing.
[[nodiscard]] std::string_view valueOf(const DeviceProperties& properties, std::string_view key);

/// The lines `KEY=VALUE` of a text; other lines are passed over.
[[nodiscard]] DeviceProperties parseProperties(std::string_view text);

/// The whole text as a number, decimal or, behind "0x", hexadecimal.
[[nodiscard]] std::optional<std::uint64_t> parseNumber(std::string_view text);

/// The text without white space and zero bytes at both ends.
[[nodiscard]] std::string_view stripped(std::string_view text);

/// An open folder, from which files are read by relative paths such as "queue/rotational".
class Folder {
public:
    /// Far more than a kernel file has, but for those of data.
    static constexpr std::size_t mostTextBytes = 4096;
    static constexpr std::size_t mostNames = 100'000;

    Folder() = default; ///< none; everything in it is absent
    explicit Folder(const std::string& path);
    Folder(Folder&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Folder& operator=(Folder&& other) noexcept
    {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Folder();

    explicit operator bool() const { return descriptor_ >= 0; }
    [[nodiscard]] Folder folder(const std::string& path) const;
    [[nodiscard]] bool contains(const char* path) const;

    /// The first `most` bytes of the file.
    [[nodiscard]] std::optional<Data> bytes(const char* path, std::size_t most) const;
    /// The text, stripped, in UTF-8; absent also when nothing is left of it.
    [[nodiscard]] std::optional<std::string> text(const char* path) const;
    [[nodiscard]] std::optional<std::uint64_t> number(const char* path) const;
    [[nodiscard]] DeviceProperties properties(const char* path) const;
    /// Where a symbolic link points.
    [[nodiscard]] std::optional<std::string> link(const char* path) const;
    /// The names in it, but for "." and "..", in no order.
    [[nodiscard]] std::vector<std::string> names() const;

private:
    int descriptor_ = -1;
};

} // namespace vantorel::machines
