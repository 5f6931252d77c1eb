// SPDX-License-Identifier: GPL-2.0-or-later
#include "ReportFile.h"

#include "host/console/Output.h"
#include "host/files/InputFile.h"
#include "machines/recorded/RegistryListing.h"
#include "vantorel/smart/SmartController.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace vantorel::host {

namespace {

ReportReader readReport(const std::string& path, DataView bytes)
{
    try {
        return ReportReader(bytes);
    } catch (const ReportError& error) {
        throw CommandError(path, fmt::format("no report that can be read: {}", error.what()));
    }
}

std::optional<SmartObject> decode(const ReportDrive& drive, const recorded::DeviceIdentity& identity)
{
    const SmartController& controller = SmartController::shared();
    if (!isNvme(drive)) {
        if (!drive.thresholdsData)
            return std::nullopt;
        const ATADeviceInfo info{drive.model.value_or("Unknown"), identity.serial, identity.firmware};
        return controller.ataSmartController().processExportedSmart(*drive.smartData, *drive.thresholdsData,
                                                                    drive.kind == "ssd", info);
    }
    auto result = controller.nvmeSmartController().processExportedSmart(*drive.smartData);
    if (!result)
        return std::nullopt;
    result->deviceInfo = {drive.model.value_or("Unknown"), identity.serial, identity.firmware, {}};
    result->rawData = *drive.smartData;
    return *std::move(result);
}

std::string platformUuid(std::span<const system::RegistryEntry> entries)
{
    const auto platform = std::ranges::find(entries, "IOPlatformExpertDevice", &system::RegistryEntry::className);
    return platform == entries.end() ? "" : platform->properties.get<std::string>("IOPlatformUUID").value_or("");
}

using Devices = std::map<std::string, recorded::DeviceIdentity, std::less<>>;

std::string machineIdOf(const std::vector<system::RegistryEntry>& entries)
{
    const auto platform = std::ranges::find(entries, "IOPlatformExpertDevice", &system::RegistryEntry::className);
    return platform == entries.end() ? "" : platform->properties.get<std::string>("IOPlatformUUID").value_or("");
}

/// `isListed`: whether `devices` tells of every drive.
ReportedDrive::Smart smartOf(const ReportedDrive& drive, bool isListed)
{
    using enum ReportedDrive::Smart;
    if (drive.stored.smartData)
        return stored;
    if (drive.stored.failure)
        return unread;
    if (!isListed)
        return unknown;
    return isNvme(drive.stored) ? (drive.identity.nvmeSmartEntry ? unread : none)
                                : (drive.identity.smartEntry ? unread : none);
}

ReportedDrive reportedDrive(ReportDrive stored, std::size_t number, const Devices& devices, bool isListed)
{
    ReportedDrive drive;
    drive.stored = std::move(stored);
    drive.name = drive.stored.bsdName.value_or(fmt::format("drive {}", number + 1));
    if (const auto device = devices.find(drive.name); device != devices.end())
        drive.identity = device->second;
    drive.smart = smartOf(drive, isListed);
    if (!drive.stored.smartData)
        return drive;
    if (auto result = decode(drive.stored, drive.identity))
        drive.judged.emplace(DriveReading{*std::move(result), drive.stored.identify.value_or(Data()),
                                          drive.stored.failing, drive.stored.kind == "ssd"});
    else
        drive.fault = "Its raw SMART data are not whole.";
    return drive;
}

} // namespace

std::string_view rawValue(ReportedDrive::Smart smart)
{
    constexpr std::string_view names[] = {"stored", "unread", "none", "unknown"};
    return names[static_cast<std::size_t>(smart)];
}

ReportFile openReport(const std::string& path)
{
    const ReportReader reader = readReport(path, readFile(path, largestReport));
    ReportFile report;
    report.path = path;
    report.version = reader.version();
    report.origin = reader.origin();
    report.unknownKeys = reader.unknownKeys();
    report.volumes = reader.volumes();
    Devices devices;
    try {
        report.listing = reader.expandedRegistry();
        if (report.listing.empty()) {
            const std::string& why = reader.listingFailure();
            report.listingFault = "the report has no registry listing" + (why.empty() ? "" : ": " + why);
        } else {
            std::vector<recorded::Fault> ignored;
            const auto entries = recorded::readListing(report.listing, std::string(listingName), ignored);
            report.entries = entries.size();
            report.machine = platformUuid(entries);
            devices = recorded::deviceIdentities(entries);
            report.machineId = machineIdOf(entries);
        }
    } catch (const ReportError& error) {
        report.listingFault = error.what();
    } catch (const recorded::RecordingError& error) {
        report.listingFault = error.what();
    }
    for (const ReportDrive& drive : reader.drives())
        report.drives.push_back(reportedDrive(drive, report.drives.size(), devices, report.listingFault.empty()));
    return report;
}

} // namespace vantorel::host
