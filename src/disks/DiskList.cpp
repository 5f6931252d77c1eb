// SPDX-License-Identifier: GPL-2.0-or-later
#include "DiskList.h"

#include "DiskLinks.h"
#include "vantorel/disks/RaidStorage.h"

namespace vantorel {

namespace {

bool isContainer(const Disk& disk)
{
    return disk.diskType() == Disk::DiskType::applestorage;
}

} // namespace

/// Calls `change(index, key)` for every key that the disk has in an index.
template <typename Change>
void DiskList::forEachKey(Indices& indices, const Disk& disk, Change change)
{
    change(indices.names, disk.bsdName());
    change(indices.units, disk.bsdUnit());
    change(indices.mediaUuids, disk.mediaUuid());
    if (const auto physical = DiskLinks::physicalVolume(disk))
        change(indices.physicalUnits, physical->bsdUnit());
    if (const auto* const raid = dynamic_cast<const RaidStorage*>(&disk)) {
        for (const base::Uuid& member : raid->members())
            change(indices.members, member);
    }
}

void DiskList::add(Indices& indices, const Place& place, const std::shared_ptr<Disk>& disk)
{
    forEachKey(indices, *disk, [&](auto& index, const auto& key) { index.emplace(std::pair(key, place), disk); });
    indices.containers += isContainer(*disk) ? 1 : 0;
}

template <typename Key>
std::vector<std::shared_ptr<Disk>> DiskList::lookUp(const Index<Key>& index, const Key& key)
{
    std::vector<std::shared_ptr<Disk>> found;
    for (auto entry = index.lower_bound({key, firstPlace}); entry != index.end() && entry->first.first == key; ++entry)
        found.push_back(entry->second);
    return found;
}

const DiskList::Indices& DiskList::indices() const
{
    if (*keysAreStale_) {
        indices_ = {};
        for (const auto& [place, disk] : disks_)
            add(indices_, place, disk);
        *keysAreStale_ = false;
        orderIsStale_ = true; // it is set right by the next arrival
    }
    return indices_;
}

const std::vector<std::shared_ptr<Disk>>& DiskList::disks() const
{
    if (!list_) {
        list_.emplace();
        for (const auto& [place, disk] : disks_)
            list_->push_back(disk);
    }
    return *list_;
}

std::vector<std::shared_ptr<Disk>> DiskList::named(std::string_view bsdName) const
{
    return lookUp(indices().names, std::optional(std::string(bsdName)));
}

std::vector<std::shared_ptr<Disk>> DiskList::ofUnit(std::optional<std::int64_t> bsdUnit) const
{
    return lookUp(indices().units, bsdUnit);
}

std::vector<std::shared_ptr<Disk>> DiskList::withMediaUuid(const std::optional<base::Uuid>& uuid) const
{
    return lookUp(indices().mediaUuids, uuid);
}

std::vector<std::shared_ptr<Disk>> DiskList::standingOn(std::optional<std::int64_t> bsdUnit) const
{
    return lookUp(indices().physicalUnits, bsdUnit);
}

std::vector<std::shared_ptr<Disk>> DiskList::withMember(const base::Uuid& member) const
{
    return lookUp(indices().members, member);
}

void DiskList::put(const Place& place, const std::shared_ptr<Disk>& disk)
{
    disk->keysAreStale_ = keysAreStale_;
    disks_.emplace(place, disk);
    add(indices_, place, disk);
}

void DiskList::assign(std::vector<std::shared_ptr<Disk>> disks)
{
    const auto last = std::exchange(disks_, {});
    indices_ = {};
    *keysAreStale_ = false;
    list_.reset();
    for (const auto& disk : disks) {
        if (disk)
            put({0, ++lastOrder_}, disk);
    }
    orderIsStale_ = true;
    for (const auto& [place, disk] : last)
        departed_.add(disk);
}

void DiskList::sortAgain()
{
    const auto last = std::exchange(disks_, {});
    indices_ = {};
    *keysAreStale_ = false;
    orderIsStale_ = false;
    for (const auto& [place, disk] : last)
        put({disk->bsdUnit().value_or(-1), ++lastOrder_}, disk);
}

void DiskList::insert(const std::shared_ptr<Disk>& disk)
{
    if (*keysAreStale_ || orderIsStale_)
        sortAgain();
    list_.reset();
    put({disk->bsdUnit().value_or(-1), ++lastOrder_}, disk);
}

std::shared_ptr<Disk> DiskList::remove(std::string_view bsdName)
{
    const std::optional name(std::string{bsdName});
    const auto first = indices().names.lower_bound({name, firstPlace});
    if (first == indices_.names.end() || first->first.first != name)
        return nullptr;
    const Place place = first->first.second;
    const std::shared_ptr<Disk> removed = first->second;
    forEachKey(indices_, *removed, [&place](auto& index, const auto& key) { index.erase({key, place}); });
    indices_.containers -= isContainer(*removed) ? 1 : 0;
    disks_.erase(place);
    list_.reset();
    departed_.add(removed);
    return removed;
}

} // namespace vantorel
