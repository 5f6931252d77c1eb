// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/AppleStorage.h"

#include "PropertyReading.h"
#include "RegistryWalk.h"

namespace vantorel {

void AppleStorage::init(const system::DADiskRef& disk)
{
    Volume::init(disk);
    setDiskType(DiskType::applestorage);
    // The container scheme, and above it the physical store.
    if (const auto store = propertiesOfAncestor(ioService(), 2))
        bsdVolumeUuid_ = uuidFromText(*store, "UUID");
}

void AppleStorage::linkPhysicalStore(const std::shared_ptr<Volume>& volume)
{
    bsdVolume_ = volume;
    volume->apfsMedia_ = std::static_pointer_cast<AppleStorage>(shared_from_this());
}

void AppleStorage::appendLogicalVolume(const std::shared_ptr<Volume>& volume)
{
    logicalVolumes_.push_back(volume);
    volume->volumeKind_ = VolumeKind::apfs;
}

std::vector<const Disk*> AppleStorage::links() const
{
    auto all = Volume::links();
    if (bsdVolume_)
        all.push_back(bsdVolume_.get());
    for (const auto& volume : logicalVolumes_)
        all.push_back(volume.get());
    return all;
}

void AppleStorage::dropLinks()
{
    Volume::dropLinks();
    bsdVolume_.reset();
    logicalVolumes_.clear();
}

} // namespace vantorel
