// SPDX-License-Identifier: GPL-2.0-or-later
#include "NvmeReading.h"

#include "MakeResult.h"
#include "platform/PlugInSession.h"
#include "vantorel/layouts/NvmeCommands.h"
#include "vantorel/nvme/NVMeSmartController.h"
#include "vantorel/nvme/NvmeErrorLog.h"
#include "vantorel/nvme/NvmePowerStates.h"
#include "vantorel/platform/IOConstants.h"
#include "vantorel/system/Localization.h"

#include <algorithm>
#include <array>

namespace vantorel {

namespace {

using Session = PlugInSession<NVMeSmartInterface>;

/// One entry of each of the first 40 log pages, as far as the controller gives them.
std::vector<NVMeErrorLogPage> readFirstPages(const NVMeSmartInterface& smartInterface)
{
    std::array<NVMeErrorLogPage, 40> entries{};
    std::vector<NVMeErrorLogPage> pages;
    for (std::uint32_t index = 0; index < entries.size(); ++index) {
        const auto status = smartInterface.GetLogPage(&entries[index], index, sizeof(NVMeErrorLogPage));
        if (status == system::kIOReturnTimeout)
            break; // a controller that no longer answers would let every further page run into its time
        if (status == system::kIOReturnSuccess)
            pages.push_back(entries[index]);
    }
    return pages;
}

/// How many entries of its error log a controller gives in one command.
std::size_t errorLogEntries(const NVMeControllerData& controller)
{
    const std::size_t kept = std::size_t{controller.elpe} + 1;
    // The largest transfer is 2^mdts units, of at least 4096 bytes each; 0 is no limit.
    if (controller.mdts == 0 || controller.mdts > 8)
        return kept;
    return std::min(kept, (std::size_t{4096} << controller.mdts) / sizeof(NVMeErrorLogPage));
}

} // namespace

std::optional<NVMeControllerData> nvme::identify(const NVMeSmartInterface& smartInterface)
{
    NVMeControllerData controller{};
    if (smartInterface.GetIdentifyData(&controller, 0) != system::kIOReturnSuccess)
        return std::nullopt;
    return controller;
}

NVMeDeviceInfo nvme::getDeviceInfo(const std::optional<NVMeControllerData>& controller)
{
    if (controller)
        return processControllerData(*controller);
    const std::string unknown = system::localized("Unknown");
    return {.model = unknown, .serial = unknown, .firmware = unknown, .powerStates = {}};
}

NVMeSMARTLog nvme::getSmartLog(const NVMeSmartInterface& smartInterface)
{
    NVMeSMARTLog log{};
    if (smartInterface.SMARTReadData(&log) != system::kIOReturnSuccess)
        throw SmartError("Unable to read S.M.A.R.T data.");
    return log;
}

std::optional<std::vector<NVMeErrorLogPage>> nvme::getErrorLog(const NVMeSmartInterface& smartInterface,
                                                               const NVMeControllerData& controller)
{
    std::vector<NVMeErrorLogPage> entries(errorLogEntries(controller));
    const auto length = static_cast<std::uint32_t>(entries.size() * sizeof(NVMeErrorLogPage));
    if (smartInterface.GetLogPage(entries.data(), nvmeadmin::errorLog, length) != system::kIOReturnSuccess)
        return std::nullopt;
    return entries;
}

NVMeSmartObject NVMeSmartController::getSmartData(const Drive& /*drive*/,
                                                  system::PlugInHandle pluginInterfaceHandle) const
{
    const Session session(pluginInterfaceHandle, kIONVMeSMARTInterfaceID);
    NVMeDeviceInfo deviceInfo = nvme::getDeviceInfo(nvme::identify(session.interface()));
    const NVMeSMARTLog log = nvme::getSmartLog(session.interface());
    NVMeSmartObject result = nvme::makeResult(log, std::move(deviceInfo), recordBytes(log));
    // The calls are part of a reading as drives know it; a result has no place for what they give.
    static_cast<void>(readFirstPages(session.interface()));
    return result;
}

std::vector<NVMeSmartError> NVMeSmartController::getErrorLog(system::PlugInHandle pluginInterfaceHandle) const
{
    const Session session(pluginInterfaceHandle, kIONVMeSMARTInterfaceID);
    const auto controller = nvme::identify(session.interface());
    if (!controller)
        throw SmartError("Unable to read identify data.");
    const auto entries = nvme::getErrorLog(session.interface(), *controller);
    if (!entries)
        throw SmartError("Unable to read error log.");
    return processErrorLog(std::span<const NVMeErrorLogPage>(*entries));
}

} // namespace vantorel
