// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>

namespace vantorel::host {

// Every verb adds itself under its name; its action leaves what the run ends with in `status`.
void addCheck(CLI::App& app, int& status);
void addDecode(CLI::App& app, int& status);
void addDatabase(CLI::App& app, int& status);
void addErrors(CLI::App& app, int& status);
void addCompress(CLI::App& app, int& status);
void addFleet(CLI::App& app, int& status);
void addDiff(CLI::App& app, int& status);
void addExpand(CLI::App& app, int& status);
void addHelp(CLI::App& app, int& status);
void addHistory(CLI::App& app, int& status);
void addList(CLI::App& app, int& status);
void addMetrics(CLI::App& app, int& status);
void addRecord(CLI::App& app, int& status);
void addReport(CLI::App& app, int& status);
void addShow(CLI::App& app, int& status);
void addSmart(CLI::App& app, int& status);
void addStats(CLI::App& app, int& status);
void addWatch(CLI::App& app, int& status);
void addMachineCheck(CLI::App& app, int& status);

/// What the command does when it is given no verb: `check` of all drives. Gives what the run ends with.
[[nodiscard]] int check(const CLI::App& app);

} // namespace vantorel::host
