// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

namespace vantorel::system::compression::lzfse {

/// What a block is made of: take so many of its literals, then repeat `length` bytes from `distance` back.
struct Match {
    std::uint16_t literals; ///< up to `maxLiteralCount`
    std::uint16_t length;   ///< up to `maxLength`; 0: nothing is repeated
    std::uint32_t distance; ///< 1 to `reach`
};

} // namespace vantorel::system::compression::lzfse
