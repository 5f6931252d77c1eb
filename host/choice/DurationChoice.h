// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>

#include <chrono>
#include <optional>
#include <string_view>

namespace vantorel::host {

/// A length of time as people write it: a whole number and s, m, h, d or y, such as "90s", "30m" or "5y"; a year has
/// 365 days. Absent for any other text, and for more than a hundred years.
[[nodiscard]] std::optional<std::chrono::seconds> durationOf(std::string_view text);

/// What an option for a length of time has to be.
[[nodiscard]] CLI::Validator durationFrom(std::chrono::seconds least);

} // namespace vantorel::host
