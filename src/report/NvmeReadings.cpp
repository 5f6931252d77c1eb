// SPDX-License-Identifier: GPL-2.0-or-later
#include "NvmeReadings.h"

#include "nvme/ErrorLog.h"
#include "smart/SmartService.h"
#include "vantorel/platform/IOConstants.h"
#include "vantorel/platform/NVMeSmartInterface.h"
#include "vantorel/platform/PlugInSession.h"

namespace vantorel::report {

namespace {

PropertyTable readings(const NVMeSmartInterface& smartInterface)
{
    PropertyTable table;
    NVMeControllerData controller{};
    if (smartInterface.GetIdentifyData(&controller, 0) != system::kIOReturnSuccess)
        return table;
    table.emplace("identify", recordBytes(controller));
    if (const auto entries = nvme::readErrorLog(smartInterface, controller)) {
        Data log;
        for (const NVMeErrorLogPage& entry : *entries) {
            const Data bytes = recordBytes(entry);
            log.insert(log.end(), bytes.begin(), bytes.end());
        }
        table.emplace("errorLog", std::move(log));
    }
    return table;
}

} // namespace

PropertyTable nvmeReadings(const Drive& drive)
{
    const system::IOHandle service = getSmartService(drive);
    system::PlugInHandle handle = nullptr;
    std::int32_t score = 0;
    if (system::IOCreatePlugInInterfaceForService(service.get(), kIONVMeSMARTUserClientTypeID, kIOCFPlugInInterfaceID,
                                                  handle, score) != system::KERN_SUCCESS)
        return {};
    try {
        return readings(PlugInSession<NVMeSmartInterface>(handle, kIONVMeSMARTInterfaceID).interface());
    } catch (const SmartError&) {
        return {};
    }
}

} // namespace vantorel::report
