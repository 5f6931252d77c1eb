// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "documents/DriveOutcome.h"

#include <string>
#include <vector>

namespace vantorel::host {

/// Reads the drives of these names, or all of them when there are no names: see `unreadDrives`. A run that takes long
/// tells so on a terminal. On the registry's thread.
[[nodiscard]] std::vector<DriveOutcome> readDrives(const std::vector<std::string>& names);

/// A line on standard error for each drive that could not be read, with the command that helps where there is one.
void complainOfFaults(const std::vector<DriveOutcome>& outcomes);

} // namespace vantorel::host
