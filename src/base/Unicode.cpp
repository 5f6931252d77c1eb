// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/Unicode.h"

#include <cstdint>

namespace vantorel::base {

void appendUtf8(std::string& text, char32_t character)
{
    if (isHighSurrogate(character) || isLowSurrogate(character) || character > 0x10FFFF)
        character = replacementCharacter;
    const auto put = [&](char32_t byte) { text += static_cast<char>(byte); };
    const auto putTrailing = [&](int shift) { put(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 | character >> 6);
        putTrailing(0);
    } else if (character < 0x10000) {
        put(0xE0 | character >> 12);
        putTrailing(6);
        putTrailing(0);
    } else {
        put(0xF0 | character >> 18);
        putTrailing(12);
        putTrailing(6);
        putTrailing(0);
    }
}

std::string utf8FromUtf16(DataView units, std::endian order)
{
    const std::size_t count = units.size() / 2;
    const auto unit = [&](std::size_t i) -> char32_t {
        const unsigned first = units[2 * i];
        const unsigned second = units[2 * i + 1];
        return order == std::endian::big ? first << 8 | second : second << 8 | first;
    };
    std::string text;
    text.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const char32_t c = unit(i);
        if (isHighSurrogate(c) && i + 1 < count && isLowSurrogate(unit(i + 1)))
            appendUtf8(text, fromSurrogates(c, unit(++i)));
        else
            appendUtf8(text, c);
    }
    if (units.size() % 2 != 0)
        appendUtf8(text, replacementCharacter);
    return text;
}

Data bigEndianUtf16(std::string_view text)
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

} // namespace vantorel::base
