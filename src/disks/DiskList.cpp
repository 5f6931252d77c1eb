// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/DiskList.h"

#include <algorithm>
#include <utility>

namespace vantorel {

namespace {

/// Strictly before in the list's order.
bool isBefore(const std::shared_ptr<Disk>& left, const std::shared_ptr<Disk>& right)
{
    return left->bsdUnit().value_or(-1) < right->bsdUnit().value_or(-1);
}

} // namespace

void DiskList::enrol(Disk& disk)
{
    disk.orderIsChanged_ = orderIsChanged_;
    if (auto* const container = dynamic_cast<AppleStorage*>(&disk))
        containers_.push_back(container);
}

void DiskList::assign(std::vector<std::shared_ptr<Disk>> disks)
{
    std::erase(disks, nullptr);
    disks_.swap(disks);
    for (const auto& disk : disks)
        departed_.add(disk);
    containers_.clear();
    for (const auto& disk : disks_)
        enrol(*disk);
    *orderIsChanged_ = true;
}

void DiskList::insert(std::shared_ptr<Disk> disk)
{
    enrol(*disk);
    if (std::exchange(*orderIsChanged_, false))
        std::stable_sort(disks_.begin(), disks_.end(), isBefore);
    disks_.insert(std::upper_bound(disks_.begin(), disks_.end(), disk, isBefore), std::move(disk));
}

std::shared_ptr<Disk> DiskList::remove(std::string_view bsdName)
{
    const auto place =
        std::find_if(disks_.begin(), disks_.end(), [bsdName](const auto& disk) { return disk->bsdName() == bsdName; });
    if (place == disks_.end())
        return nullptr;
    std::shared_ptr<Disk> removed = std::move(*place);
    disks_.erase(place);
    const auto container = std::find(containers_.begin(), containers_.end(), removed.get());
    if (container != containers_.end())
        containers_.erase(container);
    departed_.add(removed);
    return removed;
}

} // namespace vantorel
