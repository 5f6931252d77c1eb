// SPDX-License-Identifier: GPL-2.0-or-later
#include "DiskClassification.h"

#include "vantorel/disks/AppleStorage.h"
#include "vantorel/disks/CoreStorage.h"
#include "vantorel/disks/DiskImage.h"
#include "vantorel/disks/DiskLookUps.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/disks/RaidStorage.h"
#include "vantorel/system/MessageSink.h"

namespace vantorel {

DiskClass getDiskType(const system::DADiskRef& disk)
{
    const auto description = getDiskInfo(disk);
    if (!description) {
        system::printMessage("Unable to retrieve disk object");
        throw ClassificationError(DiskError::InvalidInfo);
    }
    if (!description->lookUp("DAMediaKind"))
        throw ClassificationError(DiskError::InvalidType);
    const auto properties = getRegistryEntryForDisk(disk);
    if (!properties)
        throw ClassificationError(DiskError::InvalidEntry);
    const auto whole = description->get<bool>("DAMediaWhole");
    if (!whole)
        throw ClassificationError(DiskError::InvalidInfo);

    if (description->get<std::string>("DADeviceModel") == "Disk Image" && *whole)
        return DiskClass::diskimage;
    if (properties->get<bool>("CoreStorage") == true)
        return DiskClass::corestorage;
    if (description->get<std::string>("DAMediaName") == "AppleAPFSMedia")
        return DiskClass::apfsstorage;
    if (properties->get<bool>("RAID") == true)
        return DiskClass::raidstorage;
    return *whole ? DiskClass::drive : DiskClass::volume;
}

std::shared_ptr<Disk> createDisk(const system::DADiskRef& disk)
try {
    switch (getDiskType(disk)) {
    case DiskClass::drive:
        return Disk::create<Drive>(disk);
    case DiskClass::volume:
        return Disk::create<Volume>(disk);
    case DiskClass::corestorage:
        return Disk::create<CoreStorage>(disk);
    case DiskClass::raidstorage:
        return Disk::create<RaidStorage>(disk);
    case DiskClass::apfsstorage:
        return Disk::create<AppleStorage>(disk);
    case DiskClass::diskimage:
        return Disk::create<DiskImage>(disk);
    case DiskClass::raidmember:
    case DiskClass::unknown:
        break;
    }
    return nullptr;
} catch (const ClassificationError&) {
    return nullptr;
}

} // namespace vantorel
