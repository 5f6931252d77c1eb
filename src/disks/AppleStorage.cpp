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

} // namespace vantorel
