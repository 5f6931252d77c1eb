// SPDX-License-Identifier: GPL-2.0-or-later
#include "DiskWords.h"

#include "Quantity.h"
#include "documents/DiskUse.h"
#include "host/console/Text.h"
#include "vantorel/base/Text.h"
#include "vantorel/disks/CoreStorage.h"
#include "vantorel/disks/Drive.h"

#include <fmt/format.h>

namespace vantorel::host {

namespace {

std::string deviceText(const Drive& drive)
{
    const bool knowsKind = drive.driveKind() != Disk::DriveKind::unknown;
    const bool knowsInterface = drive.interface() != Disk::DriveInterface::unknown;
    if (knowsKind && knowsInterface)
        return fmt::format("{}, {}", rawValue(drive.driveKind()), rawValue(drive.interface()));
    if (knowsKind)
        return std::string(rawValue(drive.driveKind()));
    return knowsInterface ? fmt::format("drive, {}", rawValue(drive.interface())) : "drive";
}

std::string driveText(const Drive& drive)
{
    const auto fileSystem = fileSystemOn(drive);
    return fileSystem ? fmt::format("{}, {} volume", deviceText(drive), printable(*fileSystem)) : deviceText(drive);
}

std::string volumeText(const Volume& volume)
{
    if (volume.volumeKind() != Disk::VolumeKind::unknown)
        return fmt::format("{} volume", rawValue(volume.volumeKind()));
    const auto fileSystem = fileSystemOn(volume);
    return fileSystem ? fmt::format("{} volume", printable(*fileSystem)) : "volume";
}

std::string setText(const Disk& set)
{
    const std::string status = base::lowercased(setStatusOf(set).value_or("online"));
    return status == "online" ? "RAID set" : fmt::format("RAID set, {}", printable(status));
}

} // namespace

std::string kindText(const Disk& disk)
{
    if (const auto* const drive = dynamic_cast<const Drive*>(&disk))
        return driveText(*drive);
    switch (disk.diskType()) {
    case Disk::DiskType::applestorage:
        return "APFS container";
    case Disk::DiskType::raid:
        return setText(disk);
    case Disk::DiskType::diskimage:
        return "disk image";
    case Disk::DiskType::corestorage: {
        const auto* const logical = dynamic_cast<const CoreStorage*>(&disk);
        const bool isFusion = logical && logical->isFusion() == true;
        const bool isEncrypted = logical && logical->isEncrypted() == true;
        return fmt::format("CoreStorage{}{}", isFusion ? ", fusion" : "", isEncrypted ? ", encrypted" : "");
    }
    default: {
        const auto* const volume = dynamic_cast<const Volume*>(&disk);
        return volume ? volumeText(*volume) : "disk";
    }
    }
}

std::string sizeText(const Disk& disk)
{
    const auto size = disk.size();
    return size && *size >= 0 ? sizeText(static_cast<std::uint64_t>(*size)) : "";
}

std::string nameText(const Disk& disk)
{
    if (const auto* const drive = dynamic_cast<const Drive*>(&disk); drive && drive->model())
        return *drive->model();
    if (const auto* const volume = dynamic_cast<const Volume*>(&disk); volume && volume->volumeName())
        return *volume->volumeName();
    return disk.mediaName().value_or("");
}

} // namespace vantorel::host
