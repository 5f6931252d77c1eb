// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "SystemScan.h"

#include <string>
#include <string_view>

namespace vantorel::machines {

/// Puts what the disk says of itself into `hardware`, whose road is known: by the IDENTIFY data that the kernel keeps,
/// by what udev found, else by the texts of sysfs, which are cut for ATA disks. Sends the disk nothing.
void identify(const Folder& folder, const DeviceProperties& properties, Hardware& hardware);

/// A text as udev writes it under a key that ends in "_ENC", in which "\x20" stands for a blank.
[[nodiscard]] std::string decoded(std::string_view text);

} // namespace vantorel::machines
