// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <optional>

namespace VANTOREL_PUBLIC vantorel {

/// The I/O counters of a drive at one moment, as the registry gives them: unscaled, each a double, so that a count
/// above 2^53 loses its low digits. Keep two and subtract for rates. Every field of a record that
/// `Drive::statistics` gives is present; a counter that the registry lacks is 0.
struct DriveStatistics {
    std::optional<double> readOperations;
    std::optional<double> writeOperations;
    std::optional<double> readLatency;
    std::optional<double> writeLatency;
    std::optional<double> readBytes;
    std::optional<double> writeBytes;
    std::optional<double> readTotalTime;
    std::optional<double> writeTotalTime;
    std::optional<double> readErrors;
    std::optional<double> writeErrors;
    std::optional<double> readRetries;
    std::optional<double> writeRetries;

    bool operator==(const DriveStatistics&) const = default;
};

} // namespace vantorel
