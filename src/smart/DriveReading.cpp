// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/smart/DriveReading.h"

#include "SmartService.h"
#include "ata/AtaReading.h"
#include "ata/MakeResult.h"
#include "nvme/MakeResult.h"
#include "nvme/NvmeReading.h"
#include "platform/PlugInSession.h"
#include "vantorel/platform/IOConstants.h"

namespace vantorel {

namespace {

system::IOHandle serviceOf(const ReadableDrive& drive)
{
    if (drive.service == 0)
        return {};
    return system::IOHandle(system::IOServiceGetMatchingService(system::kIOMasterPortDefault,
                                                                system::IORegistryEntryIDMatching(drive.service)));
}

DriveReading readAta(const ReadableDrive& drive)
{
    const PlugInSession<SmartInterface> session(openPlugIn(serviceOf(drive), kIOATASMARTUserClientTypeID),
                                                kIOATASMARTInterfaceID);
    ATASMARTData data{};
    ATASMARTDataThresholds thresholds{};
    ata::getSmartValues(session.interface(), data, thresholds);
    DriveReading reading{
        ata::makeResult(data, thresholds, drive.identity, drive.isSSD, recordBytes(data), recordBytes(thresholds)),
        {},
        ata::isFailing(session.interface())};
    ATAIdentifyData identify{};
    if (session.interface().GetATAIdentifyData(&identify, sizeof identify, nullptr) == system::kIOReturnSuccess)
        reading.identify = recordBytes(identify);
    return reading;
}

DriveReading readNvme(const ReadableDrive& drive)
{
    const PlugInSession<NVMeSmartInterface> session(openPlugIn(serviceOf(drive), kIONVMeSMARTUserClientTypeID),
                                                    kIONVMeSMARTInterfaceID);
    const auto controller = nvme::identify(session.interface());
    const NVMeSMARTLog log = nvme::getSmartLog(session.interface());
    return {nvme::makeResult(log, nvme::getDeviceInfo(controller), recordBytes(log)),
            controller ? recordBytes(*controller) : Data(),
            {}};
}

} // namespace

ReadableDrive ReadableDrive::of(const Drive& drive)
{
    ReadableDrive readable;
    readable.isNvme = drive.interface() == Disk::DriveInterface::nvme;
    system::IOHandle service = capableAncestor(drive, readable.isNvme);
    if (!service) {
        service = capableAncestor(drive, !readable.isNvme);
        readable.isNvme = readable.isNvme != static_cast<bool>(service);
    }
    system::IORegistryEntryGetRegistryEntryID(service.get(), readable.service);
    readable.isSSD = readable.isNvme || drive.driveKind() == Disk::DriveKind::ssd;
    readable.identity = ata::getDeviceInfo(drive);
    return readable;
}

DriveReading readDrive(const ReadableDrive& drive)
{
    return drive.isNvme ? readNvme(drive) : readAta(drive);
}

} // namespace vantorel
