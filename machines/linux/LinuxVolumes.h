// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "EntryLedger.h"
#include "MountTable.h"
#include "SystemScan.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace vantorel::machines {

/// Finds the device that a mounted file system lies on.
class MountedDevices {
public:
    explicit MountedDevices(const SystemScan& scan);

    /// The device's name; null when it is none of the system's.
    [[nodiscard]] const std::string* nameOf(const Mount& mount) const;

private:
    std::unordered_map<std::uint64_t, std::string> byNumber_;
    std::unordered_map<std::string, std::string> byPath_; ///< "/dev/sda2" and "/dev/mapper/vg-lv"
};

/// What is known of the volumes on all block devices: by their superblocks, as udev or libblkid read them, and by the
/// mounts, in the order of mounting.
[[nodiscard]] VolumesByName volumesOf(const SystemScan& scan, const MountedDevices& devices,
                                      const std::vector<Mount>& mounts);

} // namespace vantorel::machines
