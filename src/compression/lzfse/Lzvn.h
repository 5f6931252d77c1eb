// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Match.h"
#include "compression/SlidingWindow.h"
#include "compression/StreamBuffers.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// The block kind for short input: opcodes of one to three bytes, each followed by its literals, no entropy coding.
namespace vantorel::system::compression::lzfse {

/// How far a match of such a block reaches back.
inline constexpr std::uint32_t lzvnReach = 65535;

/// Expands one block as its opcodes come in.
class LzvnReader {
public:
    enum class Result { more, starved, done, damaged };

    /// The most that one call of `decode` appends.
    static constexpr std::size_t room = SlidingWindow::batch + 2 * 271;

    void begin(std::uint32_t plainSize, std::uint32_t payloadSize);

    /// `gathered` is empty at the first call and left alone between calls; it is empty again after `done`.
    [[nodiscard]] Result decode(compression_stream& stream, Gathered& gathered, SlidingWindow& window);

private:
    [[nodiscard]] Result decodeGathered(DataView bytes, SlidingWindow& window, std::size_t& used);

    std::uint32_t plainLeft_ = 0;
    std::uint32_t payloadLeft_ = 0;
    std::uint32_t distance_ = 0; ///< of the match before; 0 before the first
};

/// Writes the opcodes for `matches`, whose literals lie in `literals` one behind the other, and the end opcode.
/// Distances are at most `lzvnReach`. False when they do not fit into the room of `out`, which holds a part then.
[[nodiscard]] bool writeLzvn(std::span<const Match> matches, const std::uint8_t* literals, Outgoing& out);

} // namespace vantorel::system::compression::lzfse
