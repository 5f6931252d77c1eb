// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Html.h"
#include "Series.h"
#include "vantorel/health/TemperatureLimits.h"
#include "vantorel/health/TypedValue.h"

#include <optional>
#include <string>
#include <string_view>

namespace vantorel::host {

/// The symbols that `mark` refers to: one drawing for the whole page. Each level has a shape of its own, so that none
/// has to be told by colour.
[[nodiscard]] Html symbols();

/// The symbol of a level or a state; `tone` is its word in the style sheet: "failing", "atRisk", "watch", "unknown",
/// "good", "unread" or "none".
[[nodiscard]] Html mark(std::string_view tone);

/// The same as a file of its own, for the tab of a browser.
[[nodiscard]] std::string iconFile(std::string_view tone);

/// A temperature on a scale with the limits of the drive, and its lowest and highest where it tells them.
[[nodiscard]] Html temperatureDrawing(const health::TypedValue& temperature, const health::TemperatureLimits& limits);

/// How much of the rated life is used, in percent.
[[nodiscard]] Html wearDrawing(const health::TypedValue& used);

/// How much of the reserve is left, in percent, and the limit below which the drive warns.
[[nodiscard]] Html reserveDrawing(const health::TypedValue& left, std::optional<double> limit);

/// A number over time as a line, with both axes labelled.
[[nodiscard]] Html lineChart(const Series& series);

} // namespace vantorel::host
