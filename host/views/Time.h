// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vantorel::host {

/// Now, as `2026-01-31T23:59:59.123Z`.
[[nodiscard]] std::string utcTime();

/// A moment in milliseconds since 1970, as `2026-01-31T23:59:59.123Z`; empty for one of a year that is not in 1 to
/// 9999.
[[nodiscard]] std::string utcTime(std::int64_t milliseconds);

/// The moment of such a text, with a fraction of a second or without; absent for any other text.
[[nodiscard]] std::optional<std::int64_t> momentOf(const std::string& utcTime);

/// A moment as calendar and clock on the wall show it: `2026-01-31 23:59`; empty as above.
[[nodiscard]] std::string localMoment(std::int64_t milliseconds);

/// Now, as a clock on the wall shows it: `23:59:59`.
[[nodiscard]] std::string localTime();

/// Runs the run loop for so many seconds, or without an end, and until `isDone` says so. It is asked after each round
/// of work.
void pumpEvents(std::optional<double> seconds, const std::function<bool()>& isDone);

} // namespace vantorel::host
