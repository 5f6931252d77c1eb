// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Bytes.h"

#include <array>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>

/// The LZFSE stream, told in docs/formats/lzfse.md: block after block, each led by its magic, then the end magic.
namespace vantorel::system::compression::lzfse {

inline constexpr std::uint32_t plainMagic = 0x2d787662;         // "bvx-": PlainHeader, then the plain bytes
inline constexpr std::uint32_t lzvnMagic = 0x6e787662;          // "bvxn": LzvnHeader, then opcodes
inline constexpr std::uint32_t entropyMagic = 0x31787662;       // "bvx1": EntropyHeader, then both payloads
inline constexpr std::uint32_t packedEntropyMagic = 0x32787662; // "bvx2": PackedHeader, frequencies, both payloads
inline constexpr std::uint32_t endMagic = 0x24787662;           // "bvx$": the stream is over

/// How far a match reaches back, across blocks.
inline constexpr std::uint32_t reach = 262139;

struct PlainHeader {
    le32 magic;
    le32 plainSize;
};
static_assert(sizeof(PlainHeader) == 8);
static_assert(offsetof(PlainHeader, plainSize) == 4);

struct LzvnHeader {
    le32 magic;
    le32 plainSize;
    le32 payloadSize;
};
static_assert(sizeof(LzvnHeader) == 12);
static_assert(offsetof(LzvnHeader, plainSize) == 4);
static_assert(offsetof(LzvnHeader, payloadSize) == 8);

// An entropy-coded block is a row of matches: copy `literals` bytes of the block's literals, then `length` bytes from
// `distance` back. The three numbers and the literals are symbols of four alphabets, each coded by its own automaton.
inline constexpr std::size_t literalCountSymbols = 20;
inline constexpr std::size_t lengthSymbols = 20;
inline constexpr std::size_t distanceSymbols = 64;
inline constexpr std::size_t literalSymbols = 256;
inline constexpr std::size_t allSymbols = literalCountSymbols + lengthSymbols + distanceSymbols + literalSymbols;

inline constexpr std::size_t literalCountStates = 64;
inline constexpr std::size_t lengthStates = 64;
inline constexpr std::size_t distanceStates = 256;
inline constexpr std::size_t literalStates = 1024;

/// Literals are coded by four automata in turn, so their number is a multiple of this.
inline constexpr std::size_t literalLanes = 4;

inline constexpr std::uint32_t maxMatches = 10000;
inline constexpr std::uint32_t maxLiterals = 40000;
inline constexpr std::uint32_t maxLiteralCount = 315; ///< of one match
inline constexpr std::uint32_t maxLength = 2359;      ///< of one match

/// Zero bytes before the first bit of the match payload.
inline constexpr std::size_t matchPadding = 8;

/// What literals and matches need at the most: 10 bits a literal; 14 + 17 + 23 bits a match.
constexpr std::size_t largestLiteralPayload(std::size_t literals)
{
    return literals * 10 / 8 + 8;
}
constexpr std::size_t largestMatchPayload(std::size_t matches)
{
    return matchPadding + matches * 54 / 8 + 8;
}
inline constexpr std::size_t maxLiteralPayload = largestLiteralPayload(maxLiterals);
inline constexpr std::size_t maxMatchPayload = largestMatchPayload(maxMatches);

struct EntropyHeader {
    le32 magic;
    le32 plainSize;
    le32 payloadSize; ///< both payloads
    le32 literalCount;
    le32 matchCount;
    le32 literalPayloadSize;
    le32 matchPayloadSize;
    le32 literalBits; ///< signed, -7 to 0: minus the unused high bits of the last byte of the payload
    std::array<le16, literalLanes> literalState;
    le32 matchBits; ///< like `literalBits`
    le16 literalCountState;
    le16 lengthState;
    le16 distanceState;
    std::array<le16, allSymbols> frequencies; ///< literal count, length, distance, literal
    std::array<std::uint8_t, 2> unused;
};
static_assert(sizeof(EntropyHeader) == 772);
static_assert(offsetof(EntropyHeader, literalBits) == 28);
static_assert(offsetof(EntropyHeader, literalState) == 32);
static_assert(offsetof(EntropyHeader, matchBits) == 40);
static_assert(offsetof(EntropyHeader, literalCountState) == 44);
static_assert(offsetof(EntropyHeader, frequencies) == 50);

/// The same facts in bit fields; see `unpack` and `pack` for which lies where.
struct PackedHeader {
    le32 magic;
    le32 plainSize;
    std::array<le64, 3> fields;
};
static_assert(sizeof(PackedHeader) == 32);
static_assert(offsetof(PackedHeader, fields) == 8);

/// A packed frequency has at most 14 bits.
inline constexpr std::size_t maxPackedHeaderSize = sizeof(PackedHeader) + (allSymbols * 14 + 7) / 8;

/// A symbol of a number: it stands for `base` plus the value of `extraBits` bits.
struct ValueSymbol {
    std::uint32_t base;
    std::uint8_t extraBits;
};

inline constexpr std::array<ValueSymbol, literalCountSymbols> literalCountValues = [] {
    std::array<ValueSymbol, literalCountSymbols> values{};
    for (std::uint32_t i = 0; i < 16; ++i)
        values[i] = {i, 0};
    values[16] = {16, 2};
    values[17] = {20, 3};
    values[18] = {28, 5};
    values[19] = {60, 8};
    return values;
}();
static_assert(literalCountValues[19].base + (1U << literalCountValues[19].extraBits) - 1 == maxLiteralCount);

inline constexpr std::array<ValueSymbol, lengthSymbols> lengthValues = [] {
    std::array<ValueSymbol, lengthSymbols> values{};
    for (std::uint32_t i = 0; i < 16; ++i)
        values[i] = {i, 0};
    values[16] = {16, 3};
    values[17] = {24, 5};
    values[18] = {56, 8};
    values[19] = {312, 11};
    return values;
}();
static_assert(lengthValues[19].base + (1U << lengthValues[19].extraBits) - 1 == maxLength);

/// The distance 0 stands for that of the match before in the block.
inline constexpr std::array<ValueSymbol, distanceSymbols> distanceValues = [] {
    std::array<ValueSymbol, distanceSymbols> values{};
    std::uint32_t base = 0;
    for (std::size_t i = 0; i < distanceSymbols; ++i) {
        values[i] = {base, static_cast<std::uint8_t>(i / 4)};
        base += 1U << values[i].extraBits;
    }
    return values;
}();
static_assert(distanceValues[63].base + (1U << distanceValues[63].extraBits) - 1 == reach);

/// The symbol of a distance up to `reach`: four symbols to each number of extra bits, whose bases are four steps of
/// that many bits behind 4 * (2^bits - 1).
constexpr std::size_t distanceSymbol(std::uint32_t distance)
{
    assert(distance <= reach);
    const auto extraBits = static_cast<std::uint32_t>(std::bit_width(distance + 4)) - 3;
    return 4 * extraBits + ((distance + 4) >> extraBits) - 4;
}
static_assert(distanceSymbol(0) == 0 && distanceSymbol(4) == 4 && distanceSymbol(59) == 15);
static_assert(distanceSymbol(distanceValues[63].base) == 63 && distanceSymbol(distanceValues[63].base - 1) == 62);

} // namespace vantorel::system::compression::lzfse
