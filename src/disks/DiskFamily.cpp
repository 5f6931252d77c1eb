// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/DiskFamily.h"

#include "vantorel/disks/Disk.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vantorel {

DiskFamily::DiskFamily(std::unique_ptr<Disk> disk)
{
    disk->family_ = this;
    disks_.push_back(std::move(disk));
}

DiskFamily::~DiskFamily() = default;

void DiskFamily::join(DiskFamily& other)
{
    if (this == &other)
        return;
    // The larger one stays, so that a disk changes its family rarely and the chain of families that joined is short.
    DiskFamily& kept = disks_.size() >= other.disks_.size() ? *this : other;
    DiskFamily& taken = &kept == this ? other : *this;
    kept.disks_.insert(kept.disks_.end(), std::make_move_iterator(taken.disks_.begin()),
                       std::make_move_iterator(taken.disks_.end()));
    std::for_each(kept.disks_.end() - std::ssize(taken.disks_), kept.disks_.end(),
                  [&kept](const std::unique_ptr<Disk>& disk) { disk->family_ = &kept; });
    taken.disks_.clear();
    taken.joined_ = kept.shared_from_this();
}

} // namespace vantorel
