// SPDX-License-Identifier: GPL-2.0-or-later
#include "AtaReading.h"

#include "MakeResult.h"
#include "platform/PlugInSession.h"
#include "vantorel/ata/ATASmartController.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/platform/IOConstants.h"

#include <bit>

namespace vantorel {

namespace {

void require(std::int32_t status, const char* otherwise)
{
    if (status != system::kIOReturnSuccess)
        throw SmartError(otherwise);
}

} // namespace

ATADeviceInfo ata::deviceInfo(const std::optional<std::string>& model, const std::optional<std::string>& serial,
                              const std::optional<std::string>& revision)
{
    return {.model = model.value_or("Unknown"), .serial = serial.value_or(""), .firmware = revision.value_or("")};
}

ATADeviceInfo ata::getDeviceInfo(const Drive& drive)
{
    return deviceInfo(drive.model(), drive.serial(), drive.revision());
}

void ata::getSmartValues(const SmartInterface& interface, ATASMARTData& smartData, ATASMARTDataThresholds& thresholds)
{
    require(interface.SMARTEnableDisableOperations(true), "Unable to enable operations.");
    require(interface.SMARTEnableDisableAutosave(true), "Unable to enable autosave.");
    require(interface.SMARTReadData(&smartData), "Unable to read S.M.A.R.T data.");
    require(interface.SMARTValidateReadData(&smartData), "S.M.A.R.T data was invalid.");
    require(interface.SMARTReadDataThresholds(&thresholds), "Unable to get data tresholds.");
    // Both sectors have their sum in the last byte, so that the one test serves both.
    const auto sector = std::bit_cast<ATASMARTData>(thresholds);
    require(interface.SMARTValidateReadData(&sector), "Unable to validate S.M.A.R.T data tresholds.");
}

bool ata::verifyIdentifyData(std::span<const std::uint16_t, 256> buffer)
{
    constexpr unsigned signature = 0xA5;
    if ((buffer[255] & 0xFFU) != signature)
        return false;
    unsigned sum = 0;
    for (const std::uint16_t word : buffer)
        sum += (word & 0xFFU) + (word >> 8U);
    return sum % 256 == 0;
}

std::optional<bool> ata::isFailing(const SmartInterface& smartInterface)
{
    PlugInBoolean exceeded = 0;
    if (smartInterface.SMARTReturnStatus(&exceeded) != system::kIOReturnSuccess)
        return std::nullopt;
    return exceeded != 0;
}

ATASmartObject ATASmartController::getSmartData(const Drive& drive, system::PlugInHandle pluginInterfaceHandle) const
{
    const PlugInSession<SmartInterface> session(pluginInterfaceHandle, kIOATASMARTInterfaceID);
    ATASMARTData smartData{};
    ATASMARTDataThresholds thresholds{};
    ata::getSmartValues(session.interface(), smartData, thresholds);
    const bool isSSD = drive.driveKind() == Disk::DriveKind::ssd;
    return ata::makeResult(smartData, thresholds, ata::getDeviceInfo(drive), isSSD, recordBytes(smartData),
                           recordBytes(thresholds));
}

} // namespace vantorel
