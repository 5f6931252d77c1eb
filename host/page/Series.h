// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/health/JudgedReading.h"
#include "vantorel/health/TypedValue.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::host {

using Time = std::chrono::sys_seconds;

/// A number of a drive at several times.
struct Series {
    struct Point {
        Time time;
        double number = 0;
        std::string text; ///< the number, exact
    };

    std::uint8_t id = 0; ///< of an ATA attribute; 0 for none
    std::string name;    ///< for a reader
    health::Unit unit = health::Unit::none;
    std::vector<Point> points; ///< by time; two at least
};

/// A reading of a drive and when it was taken.
struct TimedReading {
    Time time;
    const health::JudgedReading* reading = nullptr;
};

/// The numbers that are not the same in all of these readings of one drive, which stand in the order of their times; in
/// the drive's own order. Bits are no numbers.
[[nodiscard]] std::vector<Series> changedNumbers(std::span<const TimedReading> readings);

/// The time of a text such as "2026-01-31T23:59:59Z"; absent for any other text.
[[nodiscard]] std::optional<Time> parsedTime(std::string_view text);

} // namespace vantorel::host
