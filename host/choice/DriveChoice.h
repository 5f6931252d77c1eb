// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/Drive.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::host {

/// The drive of a device name ("disk0", "/dev/disk0") or of a serial number, blanks around it left out; none for none.
[[nodiscard]] std::shared_ptr<Drive> driveNamed(std::string_view name);

/// The drives of these names, or all of them in the order of the registry when there are no names. Throws
/// `CommandError` for a name that no drive has.
[[nodiscard]] std::vector<std::shared_ptr<Drive>> drivesNamed(const std::vector<std::string>& names);

/// What a drive is called in a message: its device name.
[[nodiscard]] std::string driveName(const Drive& drive);

} // namespace vantorel::host
