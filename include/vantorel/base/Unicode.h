// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"

#include <bit>
#include <string>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {
namespace base {

/// What stands for a character that cannot be told.
inline constexpr char32_t replacementCharacter = 0xFFFD;

[[nodiscard]] constexpr bool isHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

[[nodiscard]] constexpr bool isLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

/// The character that a pair of surrogates stands for.
[[nodiscard]] constexpr char32_t fromSurrogates(char32_t high, char32_t low)
{
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

/// Appends a character; a surrogate and a number above U+10FFFF become U+FFFD.
void appendUtf8(std::string& text, char32_t character);

/// UTF-8 from UTF-16 units in that byte order. A lone surrogate and a last odd byte become U+FFFD.
[[nodiscard]] std::string utf8FromUtf16(DataView units, std::endian order);

/// UTF-16 units with the higher byte first. `text` is well-formed UTF-8.
[[nodiscard]] Data bigEndianUtf16(std::string_view text);

} // namespace base
} // namespace vantorel
