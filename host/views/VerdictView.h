// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "host/console/Text.h"
#include "vantorel/health/Verdict.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vantorel::host {

/// A level as it stands in a table; the one that nobody may miss in capitals.
[[nodiscard]] std::string levelText(health::Level level);

[[nodiscard]] Emphasis emphasisOf(health::Level level);

/// Lines of a block: a name, and a text that is broken where the screen ends. Nothing for an empty text.
[[nodiscard]] std::string factText(std::string_view name, std::string_view text);

/// A verdict in full: the level, its reasons with their sources, what was set aside, notes. Names of lines stand behind
/// `lead` blanks, their texts in column `column`.
[[nodiscard]] std::string verdictText(const health::Verdict& verdict, std::size_t lead = 0, std::size_t column = 12);

/// What a verdict makes of an attribute: the level of the reason that names its number.
[[nodiscard]] health::Level levelOf(const health::Verdict& verdict, std::uint8_t attribute);

/// The reasons of a verdict, a bullet each, without sources.
[[nodiscard]] std::string reasonsText(const health::Verdict& verdict);

/// How long a drive has been on, in years and months: `2 y 11 mo`; in days before the first month. "-" when that is not
/// known.
[[nodiscard]] std::string ageText(const health::Verdict& verdict);

/// "38 °C"; "-" when the temperature is not known.
[[nodiscard]] std::string temperatureText(const health::Verdict& verdict);

} // namespace vantorel::host
