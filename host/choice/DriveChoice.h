// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "documents/DriveOutcome.h"
#include "vantorel/disks/Drive.h"

#include <memory>
#include <string>
#include <vector>

namespace vantorel::host {

/// The drives of these names, or all of them in the order of the registry when there are no names. Throws
/// `CommandError` for a name that no drive has.
[[nodiscard]] std::vector<std::shared_ptr<Drive>> drivesNamed(const std::vector<std::string>& names);

} // namespace vantorel::host
