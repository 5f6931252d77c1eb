// SPDX-License-Identifier: GPL-2.0-or-later
#include "MachineOpening.h"

#include "vantorel/ata/DriveTables.h"
#include "vantorel/machines/linux/ThisComputer.h"
#include "vantorel/machines/recorded/Loading.h"
#include "vantorel/machines/recorded/SavedMachine.h"
#include "vantorel/system/KeyedArchiver.h"
#include "vantorel/system/WholeFile.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace vantorel::host {

namespace {

Data readFile(const std::string& path)
{
    try {
        return system::readWholeFile(path, largestReport);
    } catch (const system::FileError& error) {
        throw OpeningError(path, error.what());
    }
}

/// What the report saved of its drives; those of which nothing was to be had are left out.
std::vector<recorded::SavedSmart> savedDrives(const ReportReader& reader)
{
    std::vector<recorded::SavedSmart> saved;
    for (const ReportDrive& drive : reader.drives()) {
        const bool wasOpened = drive.smartData || (drive.failure && drive.failure->opened);
        if (drive.bsdName && wasOpened)
            saved.push_back({*drive.bsdName,
                             isNvme(drive) ? recorded::RecordedDrive::Kind::nvme : recorded::RecordedDrive::Kind::ata,
                             drive.smartData, drive.thresholdsData, drive.identify, drive.errorLog, drive.failing});
    }
    return saved;
}

recorded::Recording reportedMachine(const std::string& path, DataView bytes)
{
    try {
        const ReportReader reader(bytes);
        const Data listing = reader.expandedRegistry();
        if (listing.empty())
            throw OpeningError(path, "the report has no registry listing, so there is no machine in it");
        recorded::Recording machine = recorded::savedMachine(listing, std::string(listingName), savedDrives(reader));
        for (const ReportVolume& volume : reader.volumes()) {
            if (auto recorded = recordedVolume(volume))
                machine.volumes.push_back(*std::move(recorded));
        }
        return machine;
    } catch (const ReportError& error) {
        throw OpeningError(path, error.what());
    } catch (const recorded::RecordingError& error) {
        throw OpeningError(path, error.what());
    }
}

} // namespace

OpeningError::OpeningError(const std::string& path, const std::string& why) : std::runtime_error(path + ": " + why) {}

bool isNvme(const ReportDrive& drive)
{
    return drive.interface ? drive.interface == "nvme" : !drive.thresholdsData;
}

std::optional<recorded::RecordedVolume> recordedVolume(const ReportVolume& volume)
{
    if (!volume.disk)
        return std::nullopt;
    recorded::RecordedVolume recorded;
    recorded.disk = *volume.disk;
    recorded.facts = {volume.kind, volume.name, volume.uuid ? base::Uuid::parse(*volume.uuid) : std::nullopt,
                      volume.mountable, volume.mountPoints};
    recorded.size = volume.size.value_or(0);
    recorded.free = volume.free.value_or(0);
    recorded.writable = volume.writable.value_or(true);
    return recorded;
}

recorded::Recording loadRecordingOrReport(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        return recorded::loadRecording(path);
    const Data bytes = readFile(path);
    if (system::isKeyedArchive(bytes) || std::filesystem::path(path).extension() == ".vantorel")
        return reportedMachine(path, bytes);
    return recorded::loadRecording(path, bytes);
}

#ifdef VANTOREL_LINUX_MACHINE
std::unique_ptr<system::Machine> thisComputer(bool wakesDrives)
{
    channels::ChannelOptions options;
    options.wake = wakesDrives;
    options.usbBridge = [](std::uint16_t vendor, std::uint16_t product, std::uint16_t version) {
        const auto bridge = usbBridge(vendor, product, version);
        return bridge ? std::optional<std::string>(bridge->type) : std::nullopt;
    };
    return machines::thisComputer(std::move(options));
}
#else
std::unique_ptr<system::Machine> thisComputer(bool /*wakesDrives*/)
{
    throw OpeningError("this computer", "this build cannot read it; name a recorded machine");
}
#endif

} // namespace vantorel::host
