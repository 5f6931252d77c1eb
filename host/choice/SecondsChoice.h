// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>

namespace vantorel::host {

/// What a time in seconds has to be: a number from `least` to those of a day.
[[nodiscard]] CLI::Validator secondsFrom(double least);

} // namespace vantorel::host
