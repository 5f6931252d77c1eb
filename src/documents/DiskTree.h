// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/Vantorel.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace vantorel {

/// A disk and what lies on it.
struct DiskNode {
    std::shared_ptr<Disk> disk;
    std::shared_ptr<RaidStorage> raidSet; ///< the set that a partition or a drive is a member of; none for none
    std::vector<DiskNode> children;       ///< in list order
};

/// The tracked disks as trees: a partition under its whole disk, a container under its physical store, a CoreStorage
/// volume under its physical volume; every disk once, in list order. A RAID set, which lies on several, is a root.
[[nodiscard]] std::vector<DiskNode> diskTree(const Vantorel& registry);

} // namespace vantorel
