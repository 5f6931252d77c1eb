// SPDX-License-Identifier: GPL-2.0-or-later
#include "HardwareIdentity.h"

#include "vantorel/base/Bytes.h"
#include "vantorel/base/Text.h"
#include "vantorel/layouts/AtaSmart.h"

#include <charconv>
#include <span>

namespace vantorel::machines {

namespace {

/// VPD page 89h, "ATA Information" (SAT): IDENTIFY data stand behind a head of 60 bytes.
constexpr std::size_t identifyOffset = 60;
constexpr std::size_t pageBytes = identifyOffset + sizeof(ATAIdentifyData);

/// Words of IDENTIFY DEVICE (ATA8-ACS).
constexpr std::size_t commandSetsWord = 82;      ///< bit 0: SMART
constexpr std::size_t commandSetsValidWord = 83; ///< bits 14 and 15 are 01 when the two words count
constexpr std::size_t rotationWord = 217;

constexpr std::uint64_t notRotating = 1;
constexpr std::uint64_t leastRotation = 0x401;
constexpr std::uint64_t mostRotation = 0xFFFE;

/// What the nominal rotation rate says; absent when it is not told.
std::optional<bool> solidState(std::uint64_t rotationRate)
{
    if (rotationRate == notRotating)
        return true;
    return rotationRate >= leastRotation && rotationRate <= mostRotation ? std::optional(false) : std::nullopt;
}

void setIfEmpty(std::string& text, std::string_view value)
{
    if (text.empty())
        text = stripped(value);
}

std::string ataText(std::span<const le16> words)
{
    std::string text;
    for (const le16 word : words) {
        text += static_cast<char>(word >> 8U);
        text += static_cast<char>(word & 0xFFU);
    }
    return base::toUtf8(stripped(text));
}

bool identifyByPage89(const Folder& folder, Hardware& hardware)
{
    const auto page = folder.bytes("device/vpd_pg89", pageBytes);
    if (!page || page->size() < pageBytes || (*page)[1] != 0x89)
        return false;
    const auto data = DataView(*page).subspan(identifyOffset);
    const auto words = readRecord<std::array<le16, sizeof(ATAIdentifyData) / 2>>(data);
    const auto identity = readRecord<ATAIdentifyData>(data);
    if (!words || !identity)
        return false;
    hardware.isAta = true;
    hardware.product = ataText(identity->ModelNumber);
    hardware.serial = ataText(identity->SerialNumber);
    hardware.revision = ataText(identity->FirmwareRevision);
    hardware.isSolidState = solidState((*words)[rotationWord]);
    if ((*words)[commandSetsValidWord] >> 14U == 1)
        hardware.hasSmart = ((*words)[commandSetsWord] & 1U) != 0;
    return !hardware.product.empty();
}

/// What `ata_id` of udev read from the drive's IDENTIFY data.
void identifyByUdevAta(const DeviceProperties& properties, Hardware& hardware)
{
    if (valueOf(properties, "ID_ATA") != "1")
        return;
    hardware.isAta = true;
    setIfEmpty(hardware.product, decoded(valueOf(properties, "ID_MODEL_ENC")));
    setIfEmpty(hardware.serial, valueOf(properties, "ID_SERIAL_SHORT"));
    setIfEmpty(hardware.revision, valueOf(properties, "ID_REVISION"));
    if (const auto smart = valueOf(properties, "ID_ATA_FEATURE_SET_SMART"); !hardware.hasSmart && !smart.empty())
        hardware.hasSmart = smart == "1";
    if (!hardware.isSolidState) {
        // udev tells no rate of a solid state drive but 0.
        const auto rate = parseNumber(valueOf(properties, "ID_ATA_ROTATION_RATE_RPM"));
        hardware.isSolidState = rate == 0 ? std::optional(true) : solidState(rate.value_or(0));
    }
}

/// VPD page 80h: the unit's serial number, as sysfs keeps it.
std::string pageSerial(const Folder& folder)
{
    constexpr std::size_t head = 4;
    const auto page = folder.bytes("device/vpd_pg80", head + 255);
    if (!page || page->size() <= head)
        return {};
    return base::toUtf8(stripped({reinterpret_cast<const char*>(page->data()) + head, page->size() - head}));
}

/// VPD page B1h: the nominal rotation rate.
std::optional<bool> pageSolidState(const Folder& folder)
{
    const auto page = folder.bytes("device/vpd_pgb1", 6);
    if (!page || page->size() < 6)
        return std::nullopt;
    return solidState(static_cast<std::uint64_t>((*page)[4]) << 8U | (*page)[5]);
}

void identifyScsi(const Folder& folder, const DeviceProperties& properties, Hardware& hardware)
{
    const auto vendor = folder.text("device/vendor");
    hardware.isAta = hardware.isAta || vendor == "ATA";
    if (!identifyByPage89(folder, hardware))
        identifyByUdevAta(properties, hardware);
    hardware.isCut = hardware.isAta && hardware.product.empty();
    setIfEmpty(hardware.product, folder.text("device/model").value_or(""));
    setIfEmpty(hardware.revision, folder.text("device/rev").value_or(""));
    setIfEmpty(hardware.serial, pageSerial(folder));
    if (!hardware.isAta)
        setIfEmpty(hardware.vendor, vendor.value_or(""));
    // What stands behind a bridge is in no field of the bridge's own USB texts.
    if (!hardware.usb)
        setIfEmpty(hardware.serial, valueOf(properties, "ID_SERIAL_SHORT"));
    else
        setIfEmpty(hardware.serial, hardware.usb->serial);
    if (!hardware.isSolidState)
        hardware.isSolidState = pageSolidState(folder);
}

} // namespace

std::string decoded(std::string_view text)
{
    std::string plain;
    while (!text.empty()) {
        unsigned byte = 0;
        if (text.size() >= 4 && text.starts_with("\\x") &&
            std::from_chars(text.data() + 2, text.data() + 4, byte, 16).ptr == text.data() + 4) {
            plain += static_cast<char>(byte);
            text.remove_prefix(4);
        } else {
            plain += text.front();
            text.remove_prefix(1);
        }
    }
    return base::toUtf8(plain);
}

void identify(const Folder& folder, const DeviceProperties& properties, Hardware& hardware)
{
    switch (hardware.road) {
    case Road::nvme:
        if (hardware.nvme) {
            hardware.product = hardware.nvme->model;
            hardware.serial = hardware.nvme->serial;
            hardware.revision = hardware.nvme->firmware;
        }
        hardware.isSolidState = true;
        break;
    case Road::card:
        hardware.product = folder.text("device/name").value_or("");
        hardware.serial = folder.text("device/serial").value_or("");
        hardware.revision = folder.text("device/fwrev").value_or("");
        hardware.isSolidState = true;
        break;
    case Road::hypervisor:
    case Road::memory:
    case Road::unknown:
        hardware.serial = folder.text("serial").value_or("");
        break;
    case Road::ahci:
    case Road::ata:
    case Road::scsi:
    case Road::usb:
        identifyScsi(folder, properties, hardware);
        break;
    }
}

} // namespace vantorel::machines
