// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Copies of the few bytes that literals and matches mostly have. They go in whole steps, so that the length of a copy
/// is seldom a branch of its own.
namespace vantorel::system::compression {

/// How many bytes behind those that are asked for the copies below may read and write.
inline constexpr std::size_t overshoot = 32;

/// Copies `count` bytes, and what lies behind them up to a whole step.
template <std::size_t step>
inline void copyInSteps(std::uint8_t* to, const std::uint8_t* from, std::size_t count)
{
    const std::uint8_t* const end = to + count;
    do {
        std::memcpy(to, from, step);
        to += step;
        from += step;
    } while (to < end);
}

/// Appends to what lies before `to` `count` bytes from `distance` back, at least 1. Bytes that the copy itself writes
/// are read again when it overlaps them.
inline void repeatBytes(std::uint8_t* to, std::size_t distance, std::size_t count)
{
    const std::uint8_t* from = to - distance;
    if (distance >= 16) {
        // Most matches are done with this.
        std::memcpy(to, from, 16);
        std::memcpy(to + 16, from + 16, 16);
        if (count > 32)
            copyInSteps<16>(to + 32, from + 32, count - 32);
        return;
    }
    if (distance >= 8)
        return copyInSteps<8>(to, from, count);
    // A short period: what was copied so far doubles what can be copied at once.
    for (; count > distance; distance *= 2) {
        std::memcpy(to, from, distance);
        to += distance;
        count -= distance;
    }
    std::memcpy(to, from, count);
}

} // namespace vantorel::system::compression
