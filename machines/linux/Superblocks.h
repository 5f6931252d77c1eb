// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "SystemScan.h"

namespace vantorel::machines {

/// What the device itself says of its partition table, its place in one and its file system, under the keys that udev
/// has for them. It is read, so nothing comes back without the right to, and of disks that rotate, which might sleep.
[[nodiscard]] DeviceProperties readSuperblocks(const BlockDevice& device, const BlockDevice& whole);

} // namespace vantorel::machines
