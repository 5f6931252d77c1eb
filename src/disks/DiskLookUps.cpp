// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/DiskLookUps.h"

#include "vantorel/system/MessageSink.h"

namespace vantorel {

system::PropertyTableRef getDiskInfo(const system::DADiskRef& disk)
{
    system::PropertyTableRef description = system::DADiskCopyDescription(disk);
    if (!description)
        system::printMessage("Unable to retrieve disk info");
    return description;
}

system::PropertyTableRef getRegistryEntryForDisk(const system::DADiskRef& disk)
{
    const system::IOHandle media(system::DADiskCopyIOMedia(disk));
    return getPropertiesForService(media.get());
}

system::PropertyTableRef getPropertiesForService(system::io_object_t serviceObject)
{
    system::PropertyTableRef properties;
    if (system::IORegistryEntryCreateCFProperties(serviceObject, properties, system::kCFAllocatorDefault, 0) !=
        system::KERN_SUCCESS) {
        system::printMessage("Unable to retrieve properties");
        return nullptr;
    }
    if (!properties)
        system::printMessage("Unable to access service properties");
    return properties;
}

} // namespace vantorel
