// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/Machine.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

namespace vantorel::host {

/// Whether what a recorded machine tells of later happens in its time, or not at all.
enum class LaterEvents { happen, stayOut };

inline constexpr const char* machineOption = "--machine";

/// `sample:NAME` of each machine that comes with this program, by name; none where they are not installed.
[[nodiscard]] std::vector<std::string> sampleNames();

/// The path of the sample that `sample:NAME` names; any other text as it is. Throws for a sample that there is not.
[[nodiscard]] std::string machinePath(const std::string& text);

/// Adds `--machine PATH` and `--wake`, for every verb that looks at a machine.
void addMachineOptions(CLI::App& app);

/// What this computer is called in messages.
inline constexpr const char* thisComputerName = "this computer";

/// A machine and what it is called in messages: its path, or "this computer".
struct ChosenMachine {
    std::unique_ptr<system::Machine> machine;
    std::string path;
};

/// The machine that was chosen, this computer unless another was named; neither installed nor started. Throws for one
/// that cannot be loaded; faults that were passed over are told on standard error.
[[nodiscard]] ChosenMachine chosenMachine(const CLI::App& app, LaterEvents laterEvents);

/// Whether no other machine was named.
[[nodiscard]] bool isThisComputer(const CLI::App& app);

/// Installs the machine that was chosen and starts the registry. The library's
/// own lines go to standard error from now on. Gives the machine's path, or "this computer". Throws as `chosenMachine`.
std::string startMachine(const CLI::App& app, LaterEvents laterEvents);

/// `startMachine`; every disk that is there has arrived when it returns.
std::string loadMachine(const CLI::App& app, LaterEvents laterEvents = LaterEvents::stayOut);

/// The same with the machine as it stood when a report was made. Throws `CommandError` for a report that has no machine
/// in it.
void loadReportedMachine(const std::string& report);

} // namespace vantorel::host
