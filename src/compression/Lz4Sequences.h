// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Codec.h"
#include "SlidingWindow.h"

#include <cstdint>

namespace vantorel::system::compression::lz4 {

/// Expands one raw LZ4 block (lz4_Block_format.md of the LZ4 project) of any size piece by piece, with the window as
/// its only memory. Blocks that fit into memory whole go to liblz4, which is faster.
class Sequences {
public:
    enum class Result { more, done, damaged };

    void begin(std::uint32_t encodedSize, std::uint32_t plainSize);

    /// Goes on until the source is used up or `room` bytes were appended (both `more`), or the block is over.
    Result decode(compression_stream& stream, SlidingWindow& window, std::size_t room);

private:
    enum class Phase { token, literalLength, literals, distanceLow, distanceHigh, matchLength, match };

    std::size_t decodeWhole(compression_stream& stream, SlidingWindow& window, std::size_t room);
    bool readByte(std::uint8_t byte);

    Phase phase_ = Phase::token;
    std::uint32_t encodedLeft_ = 0;
    std::uint32_t plainLeft_ = 0;
    std::uint64_t run_ = 0;      ///< bytes of the literals or the match still to come
    std::uint8_t matchCode_ = 0; ///< low half of the token
    std::uint32_t distance_ = 0;
};

} // namespace vantorel::system::compression::lz4
