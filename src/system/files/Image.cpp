// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/Image.h"

#include "vantorel/system/WholeFile.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

namespace vantorel::system {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t largestImage = 32U << 20U;
constexpr std::array signatures = {"icns"sv, "\x89PNG\r\n\x1a\n"sv, "MM\0*"sv, "II*\0"sv, "\xff\xd8\xff"sv, "GIF8"sv};

} // namespace

Image Image::contentsOfFile(const std::string& path)
{
    Data bytes;
    try {
        bytes = readWholeFile(path, largestImage);
    } catch (const FileError&) {
        return {};
    }
    const bool known = std::ranges::any_of(signatures, [&bytes](std::string_view signature) {
        return bytes.size() >= signature.size() &&
               std::equal(signature.begin(), signature.end(), bytes.begin(), std::equal_to<std::uint8_t>());
    });
    return known ? Image(std::move(bytes)) : Image();
}

} // namespace vantorel::system
