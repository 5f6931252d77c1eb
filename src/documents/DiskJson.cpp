// SPDX-License-Identifier: GPL-2.0-or-later
#include "DiskJson.h"

#include "DiskUse.h"
#include "WholeNumber.h"
#include "vantorel/disks/AppleStorage.h"
#include "vantorel/disks/CoreStorage.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/disks/RaidStorage.h"

#include <optional>
#include <string_view>

namespace vantorel {

namespace {

template <typename T>
void put(Json& json, const char* key, const std::optional<T>& value)
{
    if (value)
        json[key] = *value;
}

void put(Json& json, const char* key, const std::optional<base::Uuid>& value)
{
    if (value)
        json[key] = value->text();
}

/// A link to another disk, by its name.
void putLink(Json& json, const char* key, const std::shared_ptr<Volume>& disk)
{
    if (disk)
        put(json, key, disk->bsdName());
}

void putDrive(Json& json, const Drive& drive)
{
    put(json, "model", drive.model());
    put(json, "vendor", drive.vendor());
    json["driveKind"] = rawValue(drive.driveKind());
    json["interface"] = rawValue(drive.interface());
    json["deviceProtocol"] = rawValue(drive.deviceProtocol());
    put(json, "revision", drive.revision());
    put(json, "serial", drive.serial());
    put(json, "blockSize", drive.blockSize());
    put(json, "isTrimEnabled", drive.isTrimEnabled());
}

void putVolume(Json& json, const Volume& volume)
{
    json["volumeKind"] = rawValue(volume.volumeKind());
    put(json, "volumeName", volume.volumeName());
    put(json, "volumeUuid", volume.volumeUuid());
    if (const auto mountPoint = volume.mountPoint()) {
        json["mountPoint"] = *mountPoint;
        json["freeSpace"] = wholeNumber(volume.freeSpace());
    }
    putLink(json, "coreStorageVolume", volume.coreStorageVolume());
    putLink(json, "apfsMedia", volume.apfsMedia());
}

void putCoreStorage(Json& json, const CoreStorage& logical)
{
    put(json, "isFusion", logical.isFusion());
    put(json, "isEncrypted", logical.isEncrypted());
    put(json, "csLogicalVolumeGroupUuid", logical.csLogicalVolumeGroupUuid());
    put(json, "csLogicalVolumeFamilyUuid", logical.csLogicalVolumeFamilyUuid());
    put(json, "logicalVolumeUuid", logical.logicalVolumeUuid());
    putLink(json, "logicalVolume", logical.logicalVolume());
}

void putContainer(Json& json, const AppleStorage& container)
{
    put(json, "bsdVolumeUUID", container.bsdVolumeUUID());
    putLink(json, "bsdVolume", container.bsdVolume());
}

void putRaidSet(Json& json, const RaidStorage& set)
{
    json["members"] = Json::array();
    for (const base::Uuid& member : set.members())
        json["members"].push_back(member.text());
    put(json, "setStatus", setStatusOf(set));
}

} // namespace

Json diskJson(const Disk& disk)
{
    Json json = Json::object();
    put(json, "bsdName", disk.bsdName());
    json["diskType"] = rawValue(disk.diskType());
    put(json, "bsdUnit", disk.bsdUnit());
    put(json, "bsdMajor", disk.bsdMajor());
    put(json, "bsdMinor", disk.bsdMinor());
    put(json, "mediaName", disk.mediaName());
    put(json, "content", disk.content());
    put(json, "mediaUuid", disk.mediaUuid());
    put(json, "size", disk.size());
    put(json, "formattedSize", disk.formattedSize());
    put(json, "isInternal", disk.isInternal());
    put(json, "isRemovable", disk.isRemovable());
    put(json, "isEjectable", disk.isEjectable());
    put(json, "isWritable", disk.isWritable());
    put(json, "isMountable", disk.isMountable());
    put(json, "isNetworkDisk", disk.isNetworkDisk());
    if (const auto* const drive = dynamic_cast<const Drive*>(&disk))
        putDrive(json, *drive);
    put(json, "fileSystem", fileSystemOn(disk));
    if (const auto volume = volumeOn(disk))
        putVolume(json, *volume);
    if (const auto* const logical = dynamic_cast<const CoreStorage*>(&disk))
        putCoreStorage(json, *logical);
    if (const auto* const container = dynamic_cast<const AppleStorage*>(&disk))
        putContainer(json, *container);
    if (const auto* const set = dynamic_cast<const RaidStorage*>(&disk))
        putRaidSet(json, *set);
    return json;
}

} // namespace vantorel
