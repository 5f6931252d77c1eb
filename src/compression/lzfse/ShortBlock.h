// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "compression/StreamBuffers.h"

#include <cstddef>

namespace vantorel::system::compression::lzfse {

/// Input below this size becomes LZVN opcodes or stays plain; an entropy-coded block would not pay its tables.
inline constexpr std::size_t shortestEntropy = 4096;

/// The most bytes that a block of so many plain bytes has.
[[nodiscard]] std::size_t largestShortBlock(std::size_t plainSize);

/// Appends the one block of short input to `out`, which has room for `largestShortBlock`: opcodes, chosen to be as few
/// bytes as can be, or the plain bytes when that is not smaller.
void writeShortBlock(DataView plain, Outgoing& out);

} // namespace vantorel::system::compression::lzfse
