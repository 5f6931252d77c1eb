// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "MetricFamily.h"
#include "documents/DriveOutcome.h"

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vantorel::host {

/// One drive as metrics tell it. docs/metrics.md lists them.
struct MeasuredDrive {
    /// The drive with its I/O counters as they stand now. On the registry's thread; the outcome has to outlive the
    /// result.
    [[nodiscard]] static MeasuredDrive of(const DriveOutcome& outcome,
                                          std::optional<std::chrono::system_clock::time_point> readAt);

    const DriveOutcome* outcome = nullptr;
    std::optional<std::chrono::system_clock::time_point> readAt; ///< when the drive was last read
    std::map<std::string, double, std::less<>> counters;         ///< see `Drive::counters`
};

/// All there is to tell of these drives. A value that a drive does not have, or that no drive can have, has no sample.
[[nodiscard]] std::vector<MetricFamily> driveMetrics(std::span<const MeasuredDrive> drives);

} // namespace vantorel::host
