// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "SystemScan.h"

#include <functional>
#include <set>
#include <string>

namespace vantorel::machines {

/// Where a look at the system takes its facts from.
struct ScanSources {
    std::string sysfs = "/sys";
    std::string etc = "/etc";
    /// What udev knows of the device in this folder of sysfs; nothing where udev does not run.
    std::function<DeviceProperties(const BlockDevice& device)> udev;
    /// What the device itself says of what is on it, under udev's keys; asked when udev knows nothing.
    std::function<DeviceProperties(const BlockDevice& device, const BlockDevice& whole)> superblocks;
    /// Completes what sysfs and udev know of the hardware by asking the drive.
    std::function<void(const BlockDevice& device, Hardware& hardware)> identity;
};

/// Looks at all block devices that hold something, but for hidden ones, floppies and the boot areas of MMC cards.
///
/// With `before`, a look at an earlier time, only devices that are new, named in `changed` or arrays are read afresh.
[[nodiscard]] SystemScan scanSystem(const ScanSources& sources, const SystemScan* before = nullptr,
                                    const std::set<std::string, std::less<>>& changed = {});

/// The board's UUID and names, from the firmware's tables; unprivileged, a UUID derived from the system's own id.
[[nodiscard]] Platform scanPlatform(const ScanSources& sources);

} // namespace vantorel::machines
