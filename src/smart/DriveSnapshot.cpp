// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/smart/DriveSnapshot.h"

#include "SmartService.h"

namespace vantorel {

DriveSnapshot::DriveSnapshot(const Drive& drive)
    : name(drive.bsdName().value_or("")),
      model(drive.model()),
      serial(drive.serial()),
      firmware(drive.revision()),
      size(drive.size()),
      interface(drive.interface()),
      kind(drive.driveKind()),
      isNvme(interface == Disk::DriveInterface::nvme)
{
    system::IOHandle entry = capableAncestor(drive, isNvme);
    if (!entry) {
        entry = capableAncestor(drive, !isNvme);
        isNvme = isNvme != static_cast<bool>(entry);
    }
    system::IORegistryEntryGetRegistryEntryID(entry.get(), service);
    isSSD = isNvme || kind == Disk::DriveKind::ssd;
}

} // namespace vantorel
