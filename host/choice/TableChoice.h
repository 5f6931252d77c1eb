// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace vantorel::host {

/// Adds `--drive-table FILE`, which `VANTOREL_DRIVE_TABLE` names as well, and has every look-up of the run ask its
/// table first, and the newer of our own where the built-in one has no row.
void addDriveTables(CLI::App& app);

/// What could not be read in the table of that option, as `FILE: line N: FAULT`.
[[nodiscard]] const std::vector<std::string>& driveTableFaults();

} // namespace vantorel::host
