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

std::vector<std::shared_ptr<Volume>> AppleStorage::logicalVolumes() const
{
    std::vector<std::shared_ptr<Volume>> volumes;
    volumes.reserve(logicalVolumes_.size());
    for (Volume* const volume : logicalVolumes_)
        volumes.push_back(partner(volume));
    return volumes;
}

void AppleStorage::linkPhysicalStore(Volume& volume)
{
    joinFamily(volume);
    bsdVolume_ = &volume;
    volume.apfsMedia_ = this;
}

void AppleStorage::appendLogicalVolume(Volume& volume)
{
    joinFamily(volume);
    logicalVolumes_.push_back(&volume);
    volume.volumeKind_ = VolumeKind::apfs;
}

} // namespace vantorel
