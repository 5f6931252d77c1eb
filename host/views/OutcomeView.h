// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "CheckView.h"
#include "documents/DriveOutcome.h"

#include <string>
#include <vector>

namespace vantorel::host {

/// A drive that was asked, as a check shows it; the verdict stays that of the outcome.
[[nodiscard]] CheckedDrive checkedDrive(const DriveOutcome& outcome);

/// The drives that were asked, one line each and what is wrong with them: see `checkText`.
[[nodiscard]] std::string checkText(const std::vector<DriveOutcome>& outcomes);

/// One drive on one screen.
[[nodiscard]] std::string outcomeText(const DriveOutcome& outcome);

} // namespace vantorel::host
