// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Format.h"
#include "Match.h"
#include "compression/StreamBuffers.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantorel::system::compression::lzfse {

/// The most bytes a packed entropy-coded block has, and those that writing it may touch behind its end.
constexpr std::size_t maxEntropyBlock(std::size_t literals, std::size_t matches)
{
    return maxPackedHeaderSize + largestLiteralPayload(literals) + largestMatchPayload(matches) + 8;
}

/// Appends a packed entropy-coded block. `literals` are those of all matches, one behind the other, filled up with
/// zeros to a multiple of `literalLanes`; `plainSize` is what the matches come to. `out` has room for
/// `maxEntropyBlock`.
void writeEntropyBlock(std::span<const Match> matches, DataView literals, std::uint32_t plainSize, Outgoing& out);

} // namespace vantorel::system::compression::lzfse
