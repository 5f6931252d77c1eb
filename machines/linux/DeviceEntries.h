// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Commands.h"
#include "EntryList.h"
#include "SystemScan.h"

#include <string>

namespace vantorel::machines {

/// Appends the computer itself; gives its key.
[[nodiscard]] std::string addPlatform(const Platform& platform, EntryList& entries);

/// Appends what leads from the computer to a disk with hardware or an image behind it: controllers, the block storage
/// device and its driver. Gives the key of the driver.
[[nodiscard]] std::string addDevice(const BlockDevice& disk, Commands commands, const std::string& platform,
                                    EntryList& entries);

} // namespace vantorel::machines
