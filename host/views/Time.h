// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace vantorel::host {

/// Now, as a clock on the wall shows it: `23:59:59`.
[[nodiscard]] std::string localTime();

/// Runs the run loop for so many seconds, or without an end, and until `isDone` says so. It is asked after each round
/// of work.
void pumpEvents(std::optional<double> seconds, const std::function<bool()>& isDone);

} // namespace vantorel::host
