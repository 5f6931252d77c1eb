// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/Volume.h"

#include "FileSystem.h"
#include "PropertyReading.h"
#include "system/files/FileManager.h"

namespace vantorel {

void Volume::init(const system::DADiskRef& disk)
{
    Disk::init(disk);
    setDiskType(DiskType::volume);
}

void Volume::loadDAInfo(const PropertyTable& info)
{
    Disk::loadDAInfo(info);
    loadUuid(info, "DAVolumeUUID", volumeUuid_);
    volumeName_ = info.get<std::string>("DAVolumeName");
    const auto kind = info.get<std::string>("DAVolumeKind");
    if (!kind)
        volumeKind_ = VolumeKind::unknown;
    else if (kind == "ntfs")
        volumeKind_ = VolumeKind::ntfs;
    else if (kind == "hfs")
        volumeKind_ = VolumeKind::hfs;
}

std::optional<std::string> Volume::mountPoint() const
{
    const system::DASessionRef session = system::DASessionCreate(system::kCFAllocatorDefault);
    if (!session)
        return std::nullopt;
    const auto locations =
        system::FileManager::defaultManager().mountedVolumeURLsIncludingResourceValuesForKeys(nullptr, 0);
    if (!locations)
        return std::nullopt;
    for (const std::string& location : *locations) {
        const system::DADiskRef disk =
            system::DADiskCreateFromVolumePath(system::kCFAllocatorDefault, session, location);
        const auto name = disk ? system::DADiskGetBSDName(disk) : std::nullopt;
        if (name && name == bsdName())
            return location;
    }
    return std::nullopt;
}

double Volume::freeSpace() const
{
    const auto path = mountPoint();
    return path ? freeSpaceAt(*path).value_or(0) : 0;
}

} // namespace vantorel
