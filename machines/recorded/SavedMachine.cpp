// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/SavedMachine.h"

#include "DeviceIdentity.h"
#include "RegistryListing.h"
#include "vantorel/layouts/Nvme.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vantorel::recorded {

namespace {

void putText(Data& image, std::size_t offset, std::size_t size, std::string_view text)
{
    std::fill_n(image.begin() + static_cast<std::ptrdiff_t>(offset), size, std::uint8_t{' '});
    std::ranges::copy(text.substr(0, size), image.begin() + static_cast<std::ptrdiff_t>(offset));
}

/// Controller data with nothing in them but the identity; absent where there is none.
std::optional<Data> controllerData(const DeviceIdentity& identity)
{
    if (identity.model.empty() && identity.serial.empty() && identity.firmware.empty())
        return std::nullopt;
    Data image(sizeof(NVMeControllerData));
    putText(image, offsetof(NVMeControllerData, sn), sizeof(NVMeControllerData::sn), identity.serial);
    putText(image, offsetof(NVMeControllerData, mn), sizeof(NVMeControllerData::mn), identity.model);
    putText(image, offsetof(NVMeControllerData, fr), sizeof(NVMeControllerData::fr), identity.firmware);
    return image;
}

RecordedDrive recordedDrive(const SavedSmart& saved, const DeviceIdentity& identity)
{
    RecordedDrive drive;
    drive.kind = saved.kind;
    drive.identify = saved.identify;
    if (saved.kind == RecordedDrive::Kind::nvme) {
        if (!drive.identify)
            drive.identify = controllerData(identity);
        if (saved.data)
            drive.logs.emplace(nvmeadmin::healthLog, *saved.data);
        if (saved.errorLog)
            drive.logs.emplace(nvmeadmin::errorLog, *saved.errorLog);
    } else {
        drive.data = saved.data;
        drive.thresholds = saved.thresholds;
        drive.exceeded = saved.failing.value_or(false);
        if (!saved.failing)
            drive.failures.emplace("status", system::kIOReturnUnsupported); // not to be taken for a good verdict
    }
    return drive;
}

} // namespace

Recording savedMachine(DataView listing, const std::string& file, std::span<const SavedSmart> drives)
{
    Recording recording;
    recording.entries = readListing(listing, file, recording.faults);
    const auto identities = deviceIdentities(recording.entries);
    for (const SavedSmart& saved : drives) {
        const auto identity = identities.find(saved.disk);
        if (identity == identities.end()) {
            note(recording.faults, {file, saved.disk, "no such whole disk in the listing"});
            continue;
        }
        const bool isNvme = saved.kind == RecordedDrive::Kind::nvme;
        const auto& entry = isNvme ? identity->second.nvmeSmartEntry : identity->second.smartEntry;
        if (!entry)
            note(recording.faults, {file, saved.disk, "no entry above the disk says that it is SMART capable"});
        else
            recording.drives.emplace(*entry, recordedDrive(saved, identity->second));
    }
    return recording;
}

} // namespace vantorel::recorded
