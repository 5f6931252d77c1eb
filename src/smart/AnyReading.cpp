// SPDX-License-Identifier: GPL-2.0-or-later
#include "SmartService.h"
#include "ata/AtaReading.h"
#include "ata/MakeResult.h"
#include "nvme/MakeResult.h"
#include "nvme/NvmeReading.h"
#include "platform/PlugInSession.h"
#include "vantorel/platform/IOConstants.h"
#include "vantorel/smart/SmartController.h"

namespace vantorel {

namespace {

system::IOHandle serviceOf(const DriveSnapshot& drive)
{
    if (drive.service == 0)
        return {};
    return system::IOHandle(system::IOServiceGetMatchingService(system::kIOMasterPortDefault,
                                                                system::IORegistryEntryIDMatching(drive.service)));
}

DriveReading readAta(const DriveSnapshot& drive)
{
    const PlugInSession<SmartInterface> session(openPlugIn(serviceOf(drive), kIOATASMARTUserClientTypeID),
                                                kIOATASMARTInterfaceID);
    ATASMARTData data{};
    ATASMARTDataThresholds thresholds{};
    ata::getSmartValues(session.interface(), data, thresholds);
    DriveReading reading{ata::makeResult(data, thresholds, ata::deviceInfo(drive.model, drive.serial, drive.firmware),
                                         drive.isSSD, recordBytes(data), recordBytes(thresholds)),
                         {},
                         ata::isFailing(session.interface())};
    ATAIdentifyData identify{};
    if (session.interface().GetATAIdentifyData(&identify, sizeof identify, nullptr) == system::kIOReturnSuccess)
        reading.identify = recordBytes(identify);
    return reading;
}

DriveReading readNvme(const DriveSnapshot& drive)
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

DriveReading SmartController::getSmartData(const DriveSnapshot& drive) const
{
    DriveReading reading = drive.isNvme ? readNvme(drive) : readAta(drive);
    reading.isSSD = drive.isSSD;
    return reading;
}

DriveReading SmartController::getSmartData(const Drive& drive) const
{
    return getSmartData(DriveSnapshot(drive));
}

} // namespace vantorel
