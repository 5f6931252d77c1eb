// SPDX-License-Identifier: GPL-2.0-or-later
#include "DiskUse.h"

#include "vantorel/system/DiskArbitration.h"
#include "vantorel/system/IORegistry.h"

namespace vantorel {

std::shared_ptr<const Volume> volumeOn(const Disk& disk)
{
    if (const auto* const volume = dynamic_cast<const Volume*>(&disk))
        return {std::shared_ptr<void>(), volume};
    return fileSystemOn(disk) ? Disk::create<Volume>(disk.diskObject()) : nullptr;
}

std::optional<std::string> fileSystemOn(const Disk& disk)
{
    const system::PropertyTableRef description = system::DADiskCopyDescription(disk.diskObject());
    return description ? description->get<std::string>("DAVolumeKind") : std::nullopt;
}

std::optional<std::string> setStatusOf(const Disk& disk)
{
    if (disk.diskType() != Disk::DiskType::raid)
        return std::nullopt;
    system::IOHandle set;
    system::IORegistryEntryGetParentEntry(disk.ioService().get(), system::kIOServicePlane, set.receive());
    const auto status =
        system::IORegistryEntryCreateCFProperty(set.get(), "AppleRAID-SetStatus", system::kCFAllocatorDefault, 0);
    return status ? status->get<std::string>() : std::nullopt;
}

} // namespace vantorel
