// SPDX-License-Identifier: GPL-2.0-or-later
#include "SmartService.h"
#include "disks/RegistryWalk.h"
#include "vantorel/platform/IOConstants.h"
#include "vantorel/smart/SmartController.h"

namespace vantorel {

system::PlugInHandle openPlugIn(const system::IOHandle& service, const base::Uuid& pluginType)
{
    if (!service)
        throw SmartOpenError("Unable to find S.M.A.R.T service.");
    system::PlugInHandle handle = nullptr;
    std::int32_t score = 0;
    const auto status =
        system::IOCreatePlugInInterfaceForService(service.get(), pluginType, kIOCFPlugInInterfaceID, handle, score);
    if (status != system::KERN_SUCCESS)
        throw SmartOpenError("Unable to create S.M.A.R.T plugin interface.");
    return handle;
}

system::IOHandle getSmartService(const Drive& drive)
{
    return capableAncestor(drive, drive.interface() == Disk::DriveInterface::nvme);
}

system::IOHandle capableAncestor(const Drive& drive, bool isNvme)
{
    const std::string_view key = isNvme ? "NVMe SMART Capable" : "SMART Capable";
    system::IOHandle entry = drive.ioService();
    while (entry) {
        entry = ancestor(std::move(entry), 1);
        if (!entry)
            break;
        const auto declared = system::IORegistryEntryCreateCFProperty(entry.get(), key, system::kCFAllocatorDefault, 0);
        if (declared && declared->get<bool>().value_or(false))
            break;
    }
    return entry;
}

ATASmartObject SmartController::getATASmartData(const Drive& drive) const
{
    return ataSmartController_.getSmartData(drive, openPlugIn(getSmartService(drive), kIOATASMARTUserClientTypeID));
}

NVMeSmartObject SmartController::getNVMeSmartData(const Drive& drive) const
{
    return nvmeSmartController_.getSmartData(drive, openPlugIn(getSmartService(drive), kIONVMeSMARTUserClientTypeID));
}

std::vector<NVMeSmartError> SmartController::getNvmeErrorLog(const Drive& drive) const
{
    return nvmeSmartController_.getErrorLog(openPlugIn(getSmartService(drive), kIONVMeSMARTUserClientTypeID));
}

} // namespace vantorel
