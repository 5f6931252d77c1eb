// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/Volume.h"

#include <memory>
#include <optional>
#include <string>

namespace vantorel {

/// The volume that a disk carries: the disk itself where it is a volume; of a drive with a file system straight on it
/// one of the drive's own name, which the registry does not have. Null for none. To be used while the disk lives.
[[nodiscard]] std::shared_ptr<const Volume> volumeOn(const Disk& disk);

/// The file system on a disk in the words of its system, such as "ext4"; absent for none.
[[nodiscard]] std::optional<std::string> fileSystemOn(const Disk& disk);

/// How a RAID set fares: "Online", "Degraded" or "Offline"; absent for any other disk.
[[nodiscard]] std::optional<std::string> setStatusOf(const Disk& disk);

} // namespace vantorel
