// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The block kind for short input: opcodes of one to three bytes, each followed by its literals, no entropy coding.
namespace vantorel::system::compression::lzfse {

inline constexpr std::array<std::uint8_t, 8> lzvnEnd = {0x06};

/// Added to the byte of the forms with many literals or a long match.
inline constexpr std::uint8_t lzvnManyBase = 16;

/// The most literals, or bytes of a match at the distance before, that one opcode tells.
inline constexpr std::uint32_t lzvnMost = lzvnManyBase + 255;

/// The most bytes an opcode has with its literals.
inline constexpr std::size_t lzvnLongest = 2 + lzvnMost;

/// Added to the length field of the forms that have literals too.
inline constexpr std::uint8_t lzvnShortest = 3;

} // namespace vantorel::system::compression::lzfse
