// SPDX-License-Identifier: GPL-2.0-or-later
#include "ReportFile.h"

#include "host/console/Output.h"
#include "host/files/InputFile.h"
#include "machines/recorded/RegistryListing.h"
#include "machines/recorded/SavedMachine.h"
#include "vantorel/smart/SmartController.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

namespace vantorel::host {

namespace {

constexpr std::size_t largestReport = std::size_t{512} << 20;
constexpr std::size_t mostDrives = 10'000; // far beyond any machine, and few enough to be compared each with each
constexpr std::string_view listingName = "registry listing";

ReportReader readReport(const std::string& path)
{
    try {
        return ReportReader(readFile(path, largestReport));
    } catch (const ReportError& error) {
        throw CommandError(path, error.what());
    }
}

bool isNvme(const ReportDrive& drive)
{
    return drive.interface ? drive.interface == "nvme" : !drive.thresholdsData;
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

ReportedDrive reportedDrive(ReportDrive stored, std::size_t number,
                            const std::map<std::string, recorded::DeviceIdentity, std::less<>>& devices)
{
    ReportedDrive drive{std::move(stored), {}, {}, {}, {}};
    drive.name = drive.stored.bsdName.value_or(fmt::format("drive {}", number + 1));
    if (const auto device = devices.find(drive.name); device != devices.end())
        drive.identity = device->second;
    if (!drive.stored.smartData)
        return drive;
    drive.decoded = decode(drive.stored, drive.identity);
    if (!drive.decoded)
        drive.fault = "Its raw SMART data are not whole.";
    return drive;
}

bool isReport(const std::string& path)
{
    if (std::filesystem::path(path).extension() == ".vantorel")
        return true;
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return false; // what is read of a pipe here would be missing later
    // The table that names the archiver is the first object of an archive.
    constexpr std::string_view mark = "$archiver";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    std::array<char, 4096> start{};
    if (!file)
        return false;
    const std::string_view text(start.data(), std::fread(start.data(), 1, start.size(), file.get()));
    return text.find(mark) != std::string_view::npos;
}

recorded::Recording reportedMachine(const std::string& path)
{
    const ReportReader reader = readReport(path);
    std::vector<recorded::SavedSmart> saved;
    for (const ReportDrive& drive : reader.drives()) {
        if (drive.bsdName && drive.smartData)
            saved.push_back({*drive.bsdName,
                             isNvme(drive) ? recorded::RecordedDrive::Kind::nvme : recorded::RecordedDrive::Kind::ata,
                             *drive.smartData, drive.thresholdsData});
    }
    try {
        const Data listing = reader.expandedRegistry();
        if (listing.empty())
            throw CommandError(path, "the report has no registry listing, so there is no machine in it");
        return recorded::savedMachine(listing, std::string(listingName), saved);
    } catch (const ReportError& error) {
        throw CommandError(path, error.what());
    } catch (const recorded::RecordingError& error) {
        throw CommandError(path, error.what());
    }
}

} // namespace

ReportFile openReport(const std::string& path)
{
    const ReportReader reader = readReport(path);
    if (reader.drives().size() > mostDrives)
        throw CommandError(path, fmt::format("tells of more than {} drives", mostDrives));
    ReportFile report{path, reader.version(), reader.unknownKeys(), {}, {}, 0, {}};
    std::map<std::string, recorded::DeviceIdentity, std::less<>> devices;
    try {
        report.listing = reader.expandedRegistry();
        if (report.listing.empty())
            report.listingFault = "the report has no registry listing";
        if (report.listingFault.empty()) {
            std::vector<recorded::Fault> ignored;
            const auto entries = recorded::readListing(report.listing, std::string(listingName), ignored);
            report.entries = entries.size();
            devices = recorded::deviceIdentities(entries);
        }
    } catch (const ReportError& error) {
        report.listingFault = error.what();
    } catch (const recorded::RecordingError& error) {
        report.listingFault = error.what();
    }
    for (const ReportDrive& drive : reader.drives())
        report.drives.push_back(reportedDrive(drive, report.drives.size(), devices));
    return report;
}

recorded::Recording loadRecordingOrReport(const std::string& path)
{
    return isReport(path) ? reportedMachine(path) : recorded::loadRecording(path);
}

} // namespace vantorel::host
