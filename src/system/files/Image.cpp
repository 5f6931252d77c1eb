// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/Image.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <string_view>

namespace vantorel::system {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t largestImage = 32U << 20U;
constexpr std::array signatures = {"icns"sv, "\x89PNG\r\n\x1a\n"sv, "MM\0*"sv, "II*\0"sv, "\xff\xd8\xff"sv, "GIF8"sv};

} // namespace

Image Image::contentsOfFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file.tellg();
    if (!file || size <= 0 || static_cast<std::size_t>(size) > largestImage)
        return {};
    std::string bytes(static_cast<std::size_t>(size), '\0');
    file.seekg(0);
    if (!file.read(bytes.data(), size))
        return {};
    const bool known = std::any_of(signatures.begin(), signatures.end(),
                                   [&bytes](std::string_view signature) { return bytes.starts_with(signature); });
    return known ? Image(Data(bytes.begin(), bytes.end())) : Image();
}

} // namespace vantorel::system
