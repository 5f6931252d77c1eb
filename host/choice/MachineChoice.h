// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace vantorel::host {

/// Whether what a recorded machine tells of later happens in its time, or not at all.
enum class LaterEvents { happen, stayOut };

/// Adds `--machine PATH` and `--wake`, for every verb that looks at a machine.
void addMachineOptions(CLI::App& app);

/// Installs the machine that was chosen, this computer unless another was named, and starts the registry. The library's
/// own lines go to standard error from now on. Gives the machine's path, or "this computer". Throws for a machine that
/// cannot be loaded; faults that were passed over are told on standard error.
std::string startMachine(const CLI::App& app, LaterEvents laterEvents);

/// `startMachine`; every disk that is there has arrived when it returns.
std::string loadMachine(const CLI::App& app, LaterEvents laterEvents = LaterEvents::stayOut);

} // namespace vantorel::host
