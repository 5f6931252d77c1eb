// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/health/Verdict.h"

#include <cstdint>
#include <optional>

namespace vantorel::health {

/// What disks with a number of an attribute did, beside those with none.
struct MeasuredRate {
    FailureRate rate;
    FailureRate without; ///< of disks with 0
    /// How many times the low end of the interval exceeds the high end of that of 0, for this number or any lower one:
    /// a higher count is never the better sign, though some bucket in between was measured on few disks.
    double times = 0;
};

/// Absent for 0 and for an attribute without rates. A number above the last bucket is in it.
[[nodiscard]] std::optional<MeasuredRate> measuredRate(std::uint8_t attribute, std::uint64_t number);

} // namespace vantorel::health
