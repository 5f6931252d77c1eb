// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/AppleStorage.h"
#include "vantorel/disks/CoreStorage.h"

#include <memory>
#include <vector>

namespace vantorel {

/// The links between disks, which are the registry's to set. They are strong and tie both ends.
struct DiskLinks {
    /// Ties a logical volume to the physical volume below.
    static void tie(const std::shared_ptr<CoreStorage>& logical, const std::shared_ptr<Volume>& physical);
    /// Ties a container to its physical store.
    static void tie(const std::shared_ptr<AppleStorage>& container, const std::shared_ptr<Volume>& store);
    /// Puts a volume into a container and makes it an `apfs` one.
    static void put(const std::shared_ptr<Volume>& volume, AppleStorage& container);

    /// The physical volume that logical storage stands on; null for one without and for any other disk.
    [[nodiscard]] static std::shared_ptr<Volume> physicalVolume(const Disk& disk);
    /// Every disk that this one holds a link to, as often as it holds one.
    [[nodiscard]] static std::vector<const Disk*> of(const Disk& disk);
    /// Lets go of all of them. For a disk that nobody can reach any more.
    static void drop(Disk& disk);
};

} // namespace vantorel
