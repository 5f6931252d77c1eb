// SPDX-License-Identifier: GPL-2.0-or-later
#include "DeviceEntries.h"

#include <array>
#include <string_view>
#include <utility>

namespace vantorel::machines {

namespace {

/// What a PCI function is called, by the first two bytes of its class code. No name holds a word that the library
/// knows an interface by: those stand in the names of what hangs on the function.
std::string_view functionName(std::uint64_t classCode)
{
    constexpr std::array<std::pair<std::uint64_t, std::string_view>, 9> names{{{0x0100, "SCSI"},
                                                                               {0x0101, "IDE"},
                                                                               {0x0104, "RAID"},
                                                                               {0x0106, "SATA"},
                                                                               {0x0107, "SAS"},
                                                                               {0x0108, "SSD"},
                                                                               {0x0805, "SDXC"},
                                                                               {0x0C03, "XHC"},
                                                                               {0x0C04, "FC"}}};
    for (const auto& [code, name] : names) {
        if (classCode >> 8U == code)
            return name;
    }
    return "PCI";
}

void setText(PropertyTable& table, std::string_view key, const std::string& text)
{
    if (!text.empty())
        table.insert_or_assign(std::string(key), text);
}

std::string addFunction(const PciFunction& function, const std::string& platform, EntryList& entries)
{
    PropertyTable properties{
        {"class-code", function.classCode}, {"vendor-id", function.vendor}, {"device-id", function.device}};
    setText(properties, "IOName", function.driver);
    return entries.add({.parents = {platform},
                        .name = std::string(functionName(function.classCode)),
                        .location = function.address,
                        .className = "IOPCIDevice",
                        .properties = std::move(properties)});
}

std::string addPlain(std::string_view className, std::string location, const std::string& parent, EntryList& entries)
{
    return entries.add({.parents = {parent},
                        .name = std::string(className),
                        .location = std::move(location),
                        .className = std::string(className)});
}

std::string addUsb(const UsbDevice& device, const std::string& parent, EntryList& entries)
{
    constexpr std::uint64_t superSpeed = 5000;
    const std::string bus = addPlain("AppleUSBXHCI", device.port.substr(0, device.port.find('-')), parent, entries);
    const std::string port = addPlain(device.megabits >= superSpeed ? "AppleUSB30XHCIPort" : "AppleUSB20XHCIPort",
                                      device.port, bus, entries);
    PropertyTable properties;
    setText(properties, "USB Vendor Name", device.manufacturer);
    setText(properties, "USB Product Name", device.product);
    setText(properties, "USB Serial Number", device.serial);
    for (const auto& [key, text] :
         {std::pair{"idVendor", &device.vendorId}, {"idProduct", &device.productId}, {"bcdDevice", &device.version}}) {
        if (const auto number = parseNumber("0x" + *text))
            properties.insert_or_assign(key, *number);
    }
    // The number tells two devices in one port, one after the other, from each other.
    const std::string nub = entries.addAs(port + "#" + device.number, {.parents = {port},
                                                                       .name = "IOUSBHostDevice",
                                                                       .location = device.port,
                                                                       .className = "IOUSBHostDevice",
                                                                       .properties = std::move(properties)});
    return addPlain("IOUSBMassStorageDriver", "", nub, entries);
}

std::string addNvme(const NvmeController& controller, const Hardware& hardware, const std::string& parent,
                    EntryList& entries)
{
    PropertyTable properties{{"Physical Interconnect", hardware.interconnect}};
    setText(properties, "Model Number", controller.model);
    setText(properties, "Serial Number", controller.serial);
    setText(properties, "Firmware Revision", controller.firmware);
    // The texts tell a controller from another one that has taken its name since.
    return entries.addAs(parent + "/" + controller.name + "#" + controller.model + "#" + controller.serial,
                         {.parents = {parent},
                          .name = "IONVMeController",
                          .location = controller.name,
                          .className = "IONVMeController",
                          .properties = std::move(properties)});
}

/// What stands between the computer and the block storage device; gives the last key.
std::string addRoad(const BlockDevice& disk, const std::string& platform, EntryList& entries)
{
    if (!disk.hardware || disk.hardware->road == Road::memory)
        return addPlain("IOHDIXHDDriveOutKernel", disk.name, addPlain("IOHDIXController", "", platform, entries),
                        entries);
    const Hardware& hardware = *disk.hardware;
    std::string parent = hardware.pci ? addFunction(*hardware.pci, platform, entries) : platform;
    const char* const unit = hardware.isOptical ? "IOSCSIPeripheralDeviceType05" : "IOSCSIPeripheralDeviceType00";
    switch (hardware.road) {
    case Road::ahci:
        return addPlain(hardware.isOptical ? "AppleAHCIATAPIDriver" : "AppleAHCIDiskDriver", "",
                        addPlain("IOAHCIDevice", hardware.address, addPlain("AppleAHCI", "", parent, entries), entries),
                        entries);
    case Road::ata:
        return addPlain("IOATADevice", hardware.address, addPlain("IOATAController", "", parent, entries), entries);
    case Road::scsi:
        return addPlain(unit, hardware.address, addPlain("IOSCSIHostInterface", "", parent, entries), entries);
    case Road::usb:
        return addPlain(unit, hardware.address, addUsb(*hardware.usb, parent, entries), entries);
    case Road::nvme:
        return hardware.nvme ? addNvme(*hardware.nvme, hardware, parent, entries) : parent;
    case Road::card:
        return addPlain("AppleSDXC", "", parent, entries);
    case Road::hypervisor:
    case Road::memory:
    case Road::unknown:
        break;
    }
    return parent;
}

/// Class of the block storage device. Its name, which is the same, tells the library the interface.
std::string_view deviceClass(const BlockDevice& disk, Commands commands)
{
    if (!disk.hardware)
        return "IODiskImageBlockStorageDeviceOutKernel";
    const Hardware& hardware = *disk.hardware;
    if (hardware.isOptical)
        return "IODVDServices";
    switch (hardware.road) {
    case Road::ahci:
        return "IOAHCIBlockStorageDevice";
    case Road::ata:
        return "IOATABlockStorageDevice";
    case Road::nvme:
        return "IONVMeBlockStorageDevice";
    case Road::memory:
        return "IODiskImageBlockStorageDeviceInKernel";
    case Road::usb: // an NVMe drive behind a bridge is spoken to as one
        return commands == Commands::nvme ? "IONVMeBlockStorageDevice" : "IOBlockStorageServices";
    case Road::scsi:
        return "IOBlockStorageServices";
    case Road::card:
    case Road::hypervisor:
    case Road::unknown:
        break;
    }
    return "IOBlockStorageDevice";
}

PropertyTable imageProperties(const BlockDevice& disk)
{
    PropertyTable properties{{"Device Characteristics", PropertyTable{{"Product Name", "Disk Image"}}},
                             {"Protocol Characteristics", PropertyTable{{"Physical Interconnect", "Virtual Interface"},
                                                                        {"Physical Interconnect Location", "File"}}}};
    setText(properties, "image-path", disk.backingFile.value_or(""));
    return properties;
}

PropertyTable hardwareProperties(const Hardware& hardware, Commands commands)
{
    PropertyTable device;
    setText(device, "Product Name", hardware.product);
    setText(device, "Vendor Name", hardware.vendor);
    setText(device, "Product Revision Level", hardware.revision);
    setText(device, "Serial Number", hardware.serial);
    if (hardware.isSolidState)
        device.insert_or_assign("Medium Type", *hardware.isSolidState ? "Solid State" : "Rotational");
    PropertyTable protocol;
    setText(protocol, "Physical Interconnect", hardware.interconnect);
    if (hardware.isInternal)
        protocol.insert_or_assign("Physical Interconnect Location", *hardware.isInternal ? "Internal" : "External");

    PropertyTable properties{{"Device Characteristics", std::move(device)},
                             {"Protocol Characteristics", std::move(protocol)}};
    // The user client types of the two plug-ins, under which the platform names their bundles.
    if (commands == Commands::ata) {
        properties.insert_or_assign("SMART Capable", true);
        properties.insert_or_assign("IOCFPlugInTypes",
                                    PropertyTable{{"24514B7A-2804-11D6-8A02-003065704866", "ATASMARTLib.plugin"}});
    } else if (commands == Commands::nvme) {
        properties.insert_or_assign("NVMe SMART Capable", true);
        properties.insert_or_assign("IOCFPlugInTypes",
                                    PropertyTable{{"AA0FA6F9-C2D6-457F-B10B-59A13253292F", "NVMeSMARTLib.plugin"}});
    }
    return properties;
}

} // namespace

std::string addPlatform(const Platform& platform, EntryList& entries)
{
    PropertyTable properties;
    setText(properties, "IOPlatformUUID", platform.uuid);
    setText(properties, "IOPlatformSerialNumber", platform.serial);
    setText(properties, "manufacturer", platform.manufacturer);
    setText(properties, "model", platform.model);
    return entries.addAs("platform", {.name = platform.model.empty() ? "IOPlatformExpertDevice" : platform.model,
                                      .className = "IOPlatformExpertDevice",
                                      .properties = std::move(properties)});
}

std::string addDevice(const BlockDevice& disk, Commands commands, const std::string& platform, EntryList& entries)
{
    const bool isImage = !disk.hardware || disk.hardware->road == Road::memory;
    PropertyTable properties = isImage ? imageProperties(disk) : hardwareProperties(*disk.hardware, commands);
    properties.insert_or_assign("device-type", "Generic");
    properties.insert_or_assign("IOUnit", disk.unit);
    properties.insert_or_assign("Logical Block Size", disk.blockSize);
    properties.insert_or_assign("IOStorageFeatures", PropertyTable{{"Unmap", disk.canDiscard}});

    const std::string_view className = deviceClass(disk, commands);
    const bool isNvme = className == "IONVMeBlockStorageDevice";
    const std::string key = "unit:" + std::to_string(disk.unit);
    const std::string device =
        entries.addAs(key + "/device", {.parents = {addRoad(disk, platform, entries)},
                                        .name = std::string(className),
                                        .location = isNvme && disk.hardware ? disk.hardware->address : std::string(),
                                        .className = std::string(className),
                                        .properties = std::move(properties),
                                        .disk = disk.kernelName});
    const char* const driver =
        disk.hardware && disk.hardware->isOptical ? "IODVDBlockStorageDriver" : "IOBlockStorageDriver";
    return entries.addAs(
        key + "/driver",
        {.parents = {device}, .name = driver, .className = driver, .disk = disk.kernelName, .counts = true});
}

} // namespace vantorel::machines
