// SPDX-License-Identifier: GPL-2.0-or-later
#include "Utf16.h"

#include <cstdint>

namespace vantorel::system {

namespace {

constexpr char32_t replacement = 0xFFFD;

void appendUtf8(std::string& text, char32_t c)
{
    const auto put = [&](char32_t byte) { text += static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | c >> 6);
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | c >> 12);
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

} // namespace

std::string utf8FromUtf16(DataView bigEndianUnits)
{
    const std::size_t count = bigEndianUnits.size() / 2;
    const auto unit = [&](std::size_t i) {
        return static_cast<char32_t>(bigEndianUnits[2 * i] << 8 | bigEndianUnits[2 * i + 1]);
    };
    std::string text;
    text.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        char32_t c = unit(i);
        if (c >= 0xD800 && c < 0xE000) {
            const bool paired = c < 0xDC00 && i + 1 < count && unit(i + 1) >= 0xDC00 && unit(i + 1) < 0xE000;
            c = paired ? 0x10000 + ((c - 0xD800) << 10) + (unit(++i) - 0xDC00) : replacement;
        }
        appendUtf8(text, c);
    }
    return text;
}

Data utf16FromUtf8(std::string_view text)
{
    Data units;
    units.reserve(2 * text.size());
    const auto put = [&](char32_t unit) {
        units.push_back(static_cast<std::uint8_t>(unit >> 8));
        units.push_back(static_cast<std::uint8_t>(unit));
    };
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = [&](std::size_t k) { return static_cast<char32_t>(static_cast<std::uint8_t>(text[i + k])); };
        const std::size_t length = byte(0) < 0x80 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
        char32_t c = length == 1 ? byte(0) : byte(0) & (0x7FU >> length);
        for (std::size_t k = 1; k < length; ++k)
            c = c << 6 | (byte(k) & 0x3F);
        i += length;
        if (c < 0x10000) {
            put(c);
        } else {
            put(0xD800 + ((c - 0x10000) >> 10));
            put(0xDC00 + ((c - 0x10000) & 0x3FF));
        }
    }
    return units;
}

} // namespace vantorel::system
