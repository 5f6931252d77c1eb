// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "documents/DriveOutcome.h"
#include "host/history/HistoryStore.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vantorel::host {

/// Where the history of this computer lies unless a run names a file: in the folder that the service manager has made
/// for a service ("STATE_DIRECTORY"); else "/var/lib/vantorel/history.db" for root, and "vantorel/history.db" in the
/// user's folder for state (XDG Base Directory Specification). Empty for a user who has none.
[[nodiscard]] std::string usualHistory();

/// Adds `--db FILE`; its text is empty until it is used.
CLI::Option* addHistoryOption(CLI::App& verb, std::string& path);

/// The history of that name, or the usual one, whose folder is made if need be. Throws as `HistoryStore` does.
[[nodiscard]] HistoryStore openHistory(const std::string& path, HistoryStore::Use use,
                                       std::chrono::milliseconds patience = std::chrono::seconds(10));

/// Judges what was read beside the history of that name; unless one is named, beside the usual one, where it is there,
/// when the drives are those of this computer. One that was not named and cannot be used is told on standard error.
void judgeBesideHistory(std::vector<DriveOutcome>& outcomes, const std::string& path, bool isThisComputer);

} // namespace vantorel::host
