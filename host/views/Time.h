// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vantorel::host {

/// A moment in milliseconds since 1970 as calendar and clock on the wall show it: `2026-01-31 23:59`; empty for one
/// that lies before 1970 or beyond the year 9999.
[[nodiscard]] std::string localMoment(std::int64_t milliseconds);

/// Now, as a clock on the wall shows it: `23:59:59`.
[[nodiscard]] std::string localTime();

/// Runs the run loop for so many seconds, or without an end, and until `isDone` says so. It is asked after each round
/// of work.
void pumpEvents(std::optional<double> seconds, const std::function<bool()>& isDone);

} // namespace vantorel::host
