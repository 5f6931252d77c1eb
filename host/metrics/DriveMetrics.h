// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "MetricFamily.h"
#include "host/health/DriveOutcome.h"

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
    /// The drive with its I/O counters as they stand now; to be called on the registry's thread. `readAt`: when it was
    /// last read. The outcome has to outlive the result.
    [[nodiscard]] static MeasuredDrive of(const DriveOutcome& outcome,
                                          std::optional<std::chrono::system_clock::time_point> readAt);

    std::string device;
    std::string model; ///< this and the other texts: empty when unknown
    std::string serial;
    std::string firmware;
    std::string kind;
    std::string interface;
    std::optional<std::int64_t> size; ///< bytes
    DriveOutcome::Kind state = DriveOutcome::Kind::noSmart;
    const JudgedReading* judged = nullptr;               ///< null when there is none
    std::map<std::string, double, std::less<>> counters; ///< see `Drive::counters`
    std::optional<std::chrono::system_clock::time_point> readAt;
};

/// All there is to tell of these drives. A value that a drive does not have, or that no drive can have, has no sample.
[[nodiscard]] std::vector<MetricFamily> driveMetrics(std::span<const MeasuredDrive> drives);

} // namespace vantorel::host
