// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/Drive.h"

#include "PropertyReading.h"
#include "RegistryWalk.h"
#include "vantorel/base/Text.h"
#include "vantorel/disks/DiskLookUps.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantorel {

namespace {

constexpr std::array<std::string_view, 29> vendors = {
    "corsair", "apple",     "wd",      "western digital", "crucial", "owc",      "toshiba", "samsung",
    "adata",   "angelbird", "g.skill", "hitachi",         "intel",   "kingston", "micron",  "ocz",
    "pny",     "sandisk",   "seagate", "transcend",       "fujitsu", "fuji",     "hp",      "ibm",
    "lacie",   "maxtor",    "philips", "siemens",         "sony"};

constexpr std::array<std::pair<std::string_view, Disk::DriveProtocol>, 5> protocols = {{
    {"Secure Digital", Disk::DriveProtocol::sd},
    {"USB", Disk::DriveProtocol::usb},
    {"ATA", Disk::DriveProtocol::ata},
    {"SATA", Disk::DriveProtocol::sata},
    {"PCI-Express", Disk::DriveProtocol::pcie},
}};

/// The first word that a device path contains decides.
constexpr std::array<std::pair<std::string_view, Disk::DriveInterface>, 4> interfaces = {{
    {"AHCI", Disk::DriveInterface::ahci},
    {"NVMe", Disk::DriveInterface::nvme},
    {"USB3", Disk::DriveInterface::usb3},
    {"USB", Disk::DriveInterface::usb2},
}};

char uppercased(char letter)
{
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

/// The display name of the first word of a model that is a vendor's: short names in capitals, others capitalised.
std::string vendorForModel(std::string_view model)
{
    for (const std::string_view each : base::words(model)) {
        std::string word = base::lowercased(each);
        if (std::find(vendors.begin(), vendors.end(), word) == vendors.end())
            continue;
        const auto capitals = static_cast<std::ptrdiff_t>(word.size() > 3 ? 1 : word.size());
        std::transform(word.begin(), word.begin() + capitals, word.begin(), uppercased);
        return word;
    }
    return "Unknown";
}

} // namespace

void Drive::init(const system::DADiskRef& disk)
{
    Disk::init(disk);
    setDiskType(DiskType::drive);
}

void Drive::loadDAInfo(const PropertyTable& info)
{
    Disk::loadDAInfo(info);
    model_ = info.get<std::string>("DADeviceModel");
    if (model_)
        model_ = base::trimmed(*model_);
    vendor_ = info.get<std::string>("DADeviceVendor");
    if (!vendor_ || vendor_->empty())
        vendor_ = vendorForModel(model_.value_or(""));

    const auto protocol = info.get<std::string>("DADeviceProtocol");
    const auto knownProtocol = std::find_if(protocols.begin(), protocols.end(),
                                            [&protocol](const auto& row) { return protocol == row.first; });
    if (knownProtocol != protocols.end())
        deviceProtocol_ = knownProtocol->second;

    revision_ = info.get<std::string>("DADeviceRevision");
    blockSize_ = info.get<std::int64_t>("DADeviceBlockSize");

    const std::string path = info.get<std::string>("DADevicePath").value_or("");
    const auto knownInterface = std::find_if(interfaces.begin(), interfaces.end(), [&path](const auto& row) {
        return path.find(row.first) != std::string::npos;
    });
    if (knownInterface != interfaces.end())
        interface_ = knownInterface->second;
}

void Drive::loadIOInfo(const PropertyTable& /*info*/)
{
    system::IOHandle driver = ancestor(ioService(), 1);
    if (!getPropertiesForService(driver.get()))
        return;
    const auto device = propertiesOfAncestor(std::move(driver), 1);
    if (!device)
        return;

    if (const auto features = tableOf<bool>(*device, "IOStorageFeatures")) {
        const auto unmap = features->find("Unmap");
        isTrimEnabled_ = unmap != features->end() && unmap->second;
    }
    const PropertyValue* const held = device->lookUp("Device Characteristics");
    if (const PropertyTable* const characteristics = held ? held->table() : nullptr) {
        const auto medium = characteristics->get<std::string>("Medium Type");
        if (medium == "Solid State")
            driveKind_ = DriveKind::ssd;
        else if (medium == "Rotational")
            driveKind_ = DriveKind::hdd;
        serial_ = characteristics->get<std::string>("Serial Number");
    }
    if (driveKind_ == DriveKind::unknown && model_) {
        if (model_->find("SSD") != std::string::npos)
            driveKind_ = DriveKind::ssd;
        else if (model_->find("HDD") != std::string::npos)
            driveKind_ = DriveKind::hdd;
    }
}

std::map<std::string, std::optional<std::string>> Drive::descriptionDict() const
{
    return {
        {"vendor", vendor_},
        {"model", model_},
        {"bsdName", bsdName()},
        {"interface", std::string(rawValue(interface_))},
        {"kind", std::string(rawValue(driveKind_))},
        {"protocol", std::string(rawValue(deviceProtocol_))},
    };
}

} // namespace vantorel
