// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace vantorel::host {

/// The option by which the shells ask what may stand in place of the last of the words behind it, each as typed so far.
/// No help tells of it.
inline constexpr const char* completeOption = "--complete";

/// Answers such a question, for the files in contrib/completions: a line for every word that the last one is the
/// beginning of, with its meaning behind a tabulator. A line ":files" or ":folders" says that paths may stand there
/// too. What cannot be found out, such as the disks of a machine that is not there, is left out.
[[nodiscard]] std::string completions(CLI::App& command, const std::vector<std::string>& words);

} // namespace vantorel::host
