// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "EntryList.h"
#include "SystemScan.h"

#include "vantorel/base/Uuid.h"

#include <optional>
#include <string>

namespace vantorel::machines {

/// What the rest of the system makes of a block device.
struct MediaUse {
    bool isLeaf = true;      ///< nothing stands on it: no partitions, no array, no mapping
    bool isPhysical = false; ///< a mapping stands on it, which finds it by its UUID
    bool isPartitioned = false;
};

/// Where a device stands in /dev, its numbers, its size and its flags: what every media has.
[[nodiscard]] PropertyTable mediaProperties(const BlockDevice& device, const BlockDevice& whole, const MediaUse& use);

/// Appends the medium of a whole disk under `parent`, and the partition scheme where it has one. Gives the key of the
/// medium.
std::string addWhole(const BlockDevice& disk, const MediaUse& use, KeyedEntry medium, EntryList& entries);

/// Appends a partition of a disk that `addWhole` appended under this key. Gives its key.
std::string addPartition(const BlockDevice& partition, const BlockDevice& whole, const MediaUse& use,
                         const std::string& wholeKey, EntryList& entries);

/// The name of a disk's medium, such as "ST3500418AS Media".
[[nodiscard]] std::string mediumName(const BlockDevice& disk);

} // namespace vantorel::machines
