// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>

namespace vantorel::host {

/// Has every look-up of the run ask the newer drive table too, where the built-in one has no row.
void addDriveTables(CLI::App& app);

} // namespace vantorel::host
