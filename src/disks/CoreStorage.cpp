// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/CoreStorage.h"

#include "PropertyReading.h"
#include "RegistryWalk.h"

namespace vantorel {

void CoreStorage::init(const system::DADiskRef& disk)
{
    Volume::init(disk);
    setDiskType(DiskType::corestorage);
    // Logical volume, family, group, and then the physical volume.
    if (const auto physical = propertiesOfAncestor(ioService(), 3))
        logicalVolumeUuid_ = uuidFromText(*physical, "UUID");
}

void CoreStorage::loadIOInfo(const PropertyTable& info)
{
    Volume::loadIOInfo(info);
    isEncrypted_ = info.get<bool>("CoreStorage Encrypted");
    isFusion_ = info.get<bool>("CoreStorage CPDK");
    loadUuid(info, "CoreStorage LVG UUID", groupUuid_);
    loadUuid(info, "CoreStorage LVF UUID", familyUuid_);
}

} // namespace vantorel
