// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "documents/DriveOutcome.h"
#include "vantorel/health/Verdict.h"

#include <string>

namespace vantorel::host {

/// A drive whose level has changed. `outcome` is what was read, or why nothing was.
struct LevelChange {
    const DriveOutcome& outcome;
    health::Level before;
    health::Level now;
};

/// In a line for a reader: who, from what to what, and why.
[[nodiscard]] std::string changeText(const LevelChange& change);

/// As a document of docs/json.md, on one line.
[[nodiscard]] std::string changeDocument(const LevelChange& change);

/// As a message for `sendmail -t`.
[[nodiscard]] std::string changeMail(const LevelChange& change, const std::string& address);

/// The ids behind the reasons, the worst first, blanks between them; empty for a drive that was not read.
[[nodiscard]] std::string changeRules(const LevelChange& change);

} // namespace vantorel::host
