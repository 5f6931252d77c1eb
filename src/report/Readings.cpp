// SPDX-License-Identifier: GPL-2.0-or-later
#include "Readings.h"

#include "nvme/NvmeReading.h"
#include "platform/PlugInSession.h"
#include "smart/SmartService.h"
#include "vantorel/platform/IOConstants.h"

#include <optional>

namespace vantorel::report {

namespace {

/// Log page 1 as far as the controller gives it; empty when it gives none.
Data errorLog(const DriveSnapshot& drive, const NVMeControllerData& controller)
{
    Data bytes;
    try {
        const system::IOHandle service(system::IOServiceGetMatchingService(
            system::kIOMasterPortDefault, system::IORegistryEntryIDMatching(drive.service)));
        const PlugInSession<NVMeSmartInterface> session(openPlugIn(service, kIONVMeSMARTUserClientTypeID),
                                                        kIONVMeSMARTInterfaceID);
        const auto entries = nvme::getErrorLog(session.interface(), controller);
        for (const NVMeErrorLogPage& entry : entries.value_or(std::vector<NVMeErrorLogPage>())) {
            const Data image = recordBytes(entry);
            bytes.insert(bytes.end(), image.begin(), image.end());
        }
    } catch (const SmartError&) {
        // The drive is gone by now, and its health was read all the same.
    }
    return bytes;
}

} // namespace

PropertyTable furtherReadings(const DriveSnapshot& drive, const DriveReading& reading)
{
    PropertyTable table;
    if (!reading.identify.empty())
        table.emplace("identify", reading.identify);
    if (reading.saysFailing)
        table.emplace("failing", *reading.saysFailing);
    const auto controller = readRecord<NVMeControllerData>(reading.identify);
    if (Data log = drive.isNvme && controller ? errorLog(drive, *controller) : Data(); !log.empty())
        table.emplace("errorLog", std::move(log));
    return table;
}

} // namespace vantorel::report
