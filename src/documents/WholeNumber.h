// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <limits>

namespace vantorel {

/// A number that is whole by its meaning and came as a double: the next whole number towards 0, at the ends of the
/// range where it lies outside it, and 0 for what is no number.
[[nodiscard]] constexpr std::uint64_t wholeNumber(double number)
{
    constexpr double end = 18446744073709551616.0; // 2^64
    if (!(number > 0))
        return 0;
    return number < end ? static_cast<std::uint64_t>(number) : std::numeric_limits<std::uint64_t>::max();
}

} // namespace vantorel
