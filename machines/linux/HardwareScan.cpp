// SPDX-License-Identifier: GPL-2.0-or-later
#include "HardwareScan.h"

#include "HardwareIdentity.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace vantorel::machines {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Whether the text is these words with numbers between them: a digit of the pattern stands for any number.
bool fits(std::string_view text, std::string_view pattern)
{
    for (const char wanted : pattern) {
        if (text.empty())
            return false;
        if (wanted != '0') {
            if (text.front() != wanted)
                return false;
            text.remove_prefix(1);
            continue;
        }
        const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
        if (digits == 0)
            return false;
        text.remove_prefix(digits);
    }
    return text.empty();
}

/// "0000:00:1f.2", in hexadecimal but for the last.
bool isPciAddress(std::string_view text)
{
    const std::size_t colon = text.find(':');
    return colon != std::string_view::npos && colon >= 4 && text.size() == colon + 8 && text[colon + 3] == ':' &&
           text[colon + 6] == '.' && text.find_first_not_of("0123456789abcdef:.") == std::string_view::npos;
}

/// "2-1" or, behind hubs, "2-1.4.3"; an interface is "2-1:1.0".
bool isUsbPort(std::string_view text)
{
    const std::size_t dash = text.find('-');
    return dash != std::string_view::npos && dash > 0 && dash + 1 < text.size() && isDigit(text[0]) &&
           isDigit(text[dash + 1]) && text.find_first_not_of("0123456789-.") == std::string_view::npos;
}

std::string_view lastComponent(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string textOf(const Folder& folder, const char* path)
{
    return folder.text(path).value_or("");
}

} // namespace

/// What stands in the path of a disk's folder, nearest to the disk.
struct HardwareScan::Ancestors {
    std::string pci;
    std::string usb;
    std::string nvme;
    std::string scsiAddress;
    std::string scsiHost;
    bool isLibata = false;
    bool isCard = false;
    bool isVirtio = false;
    bool isSas = false;
    bool isFibreChannel = false;
    bool isNetwork = false;
    bool isVirtual = false;
};

HardwareScan::Ancestors HardwareScan::ancestors(const BlockDevice& disk) const
{
    Ancestors found;
    const std::string_view path = disk.path;
    std::string_view before;
    for (std::size_t end = path.find('/', 1); end != std::string_view::npos; end = path.find('/', end + 1)) {
        const std::string_view prefix = path.substr(0, end);
        const std::string_view part = lastComponent(prefix);
        if (isPciAddress(part))
            found.pci = prefix;
        else if (isUsbPort(part))
            found.usb = prefix;
        else if (fits(part, "nvme0"))
            found.nvme = prefix;
        else if (fits(part, "0:0:0:0"))
            found.scsiAddress = part;
        else if (fits(part, "host0"))
            found.scsiHost = part;
        found.isLibata = found.isLibata || fits(part, "ata0");
        found.isCard = found.isCard || part == "mmc_host";
        found.isVirtio = found.isVirtio || fits(part, "virtio0");
        found.isSas = found.isSas || part.starts_with("end_device-");
        found.isFibreChannel = found.isFibreChannel || part.starts_with("rport-");
        found.isNetwork = found.isNetwork || (before.starts_with("host") && fits(part, "session0"));
        found.isVirtual = found.isVirtual || part == "virtual";
        before = part;
    }
    return found;
}

std::shared_ptr<const PciFunction> HardwareScan::pciFunction(const std::string& path)
{
    auto& known = pci_[path];
    if (!known) {
        const Folder folder(path);
        PciFunction function{.address = std::string(lastComponent(path))};
        function.driver = lastComponent(folder.link("driver").value_or(""));
        function.classCode = folder.number("class").value_or(0);
        function.vendor = folder.number("vendor").value_or(0);
        function.device = folder.number("device").value_or(0);
        function.isPluggable = folder.text("removable") == "removable";
        known = std::make_shared<const PciFunction>(std::move(function));
    }
    return known;
}

std::shared_ptr<const UsbDevice> HardwareScan::usbDevice(const std::string& path)
{
    auto& known = usb_[path];
    if (!known) {
        const Folder folder(path);
        UsbDevice device{.port = std::string(lastComponent(path)),
                         .number = textOf(folder, "devnum"),
                         .vendorId = textOf(folder, "idVendor"),
                         .productId = textOf(folder, "idProduct"),
                         .version = textOf(folder, "bcdDevice"),
                         .manufacturer = textOf(folder, "manufacturer"),
                         .product = textOf(folder, "product"),
                         .serial = textOf(folder, "serial")};
        device.megabits = folder.number("speed").value_or(0); // "1.5" of the slowest is none
        device.isBuiltIn = folder.text("removable") == "fixed";
        known = std::make_shared<const UsbDevice>(std::move(device));
    }
    return known;
}

std::shared_ptr<const NvmeController> HardwareScan::nvmeController(const std::string& path)
{
    auto& known = nvme_[path];
    if (!known) {
        const Folder folder(path);
        known = std::make_shared<const NvmeController>(NvmeController{.name = std::string(lastComponent(path)),
                                                                      .model = textOf(folder, "model"),
                                                                      .serial = textOf(folder, "serial"),
                                                                      .firmware = textOf(folder, "firmware_rev"),
                                                                      .transport = textOf(folder, "transport")});
    }
    return known;
}

namespace {

/// The controller of a disk that hangs on a subsystem with several: the first by name.
std::string firstController(const std::string& sysfs, const Folder& disk)
{
    const Folder subsystem = disk.folder("device");
    std::string first;
    for (const std::string& name : subsystem.names()) {
        if (fits(name, "nvme0") && (first.empty() || std::pair(name.size(), name) < std::pair(first.size(), first)))
            first = name;
    }
    return first.empty() ? first : sysfs + "/class/nvme/" + first;
}

void describeNvme(Hardware& hardware)
{
    hardware.road = Road::nvme;
    const std::string transport = hardware.nvme ? hardware.nvme->transport : "";
    const bool isFabric = !transport.empty() && transport != "pcie";
    hardware.interconnect = isFabric ? "Fabric" : "PCI-Express";
    hardware.isInternal = !isFabric && !(hardware.pci && hardware.pci->isPluggable);
}

void describeCard(const Folder& folder, Hardware& hardware)
{
    hardware.road = Road::card;
    const bool isSoldered = folder.text("device/type") == "MMC";
    hardware.interconnect = isSoldered ? "MMC" : "Secure Digital";
    hardware.isInternal = isSoldered;
}

/// The interconnect behind a controller that speaks ATA to its drives.
std::string ataInterconnect(const Hardware& hardware, const DeviceProperties& properties)
{
    const std::string_view driver = hardware.pci ? std::string_view(hardware.pci->driver) : std::string_view();
    const bool isParallel = driver.starts_with("pata_") || driver == "ata_piix";
    if (!isParallel || valueOf(properties, "ID_ATA_SATA") == "1")
        return "SATA";
    return hardware.isOptical ? "ATAPI" : "ATA";
}

} // namespace

void HardwareScan::describeScsi(const Ancestors& above, Hardware& hardware) const
{
    hardware.road = Road::scsi;
    hardware.isInternal = !above.isNetwork && !above.isFibreChannel;
    constexpr std::array<std::string_view, 3> hypervisorDrivers{"storvsc", "virtio_scsi", "vmw_pvscsi"};
    if (above.isNetwork)
        hardware.interconnect = "iSCSI";
    else if (above.isFibreChannel)
        hardware.interconnect = "Fibre Channel Interface";
    else if (above.isSas)
        hardware.interconnect = "SAS";
    else if (above.isVirtio ||
             std::ranges::count(hypervisorDrivers,
                                textOf(Folder(sysfs_ + "/class/scsi_host/" + above.scsiHost), "proc_name")) > 0)
        hardware.interconnect = "Virtual Interface";
    else
        hardware.interconnect = "SCSI";
}

void HardwareScan::describeRoad(const Ancestors& above, const Folder& folder, const BlockDevice& disk,
                                Hardware& hardware)
{
    if (disk.kernelName.starts_with("nvme")) {
        const std::string controller = above.nvme.empty() ? firstController(sysfs_, folder) : above.nvme;
        if (!controller.empty())
            hardware.nvme = nvmeController(controller);
        hardware.address = textOf(folder, "nsid");
        describeNvme(hardware);
    } else if (!above.usb.empty()) {
        hardware.road = Road::usb;
        hardware.usb = usbDevice(above.usb);
        hardware.interconnect = "USB";
        hardware.isInternal = hardware.usb->isBuiltIn;
    } else if (above.isCard) {
        describeCard(folder, hardware);
    } else if (above.isLibata) {
        const bool isAhci = !hardware.pci || hardware.pci->driver.starts_with("ahci");
        hardware.road = isAhci ? Road::ahci : Road::ata;
        hardware.isAta = !hardware.isOptical;
        hardware.interconnect = ataInterconnect(hardware, disk.properties);
        hardware.isInternal = true;
    } else if (!above.scsiAddress.empty()) {
        describeScsi(above, hardware);
    } else if (above.isVirtio || disk.kernelName.starts_with("xvd")) {
        hardware.road = Road::hypervisor;
        hardware.interconnect = "Virtual Interface";
        hardware.isInternal = true;
    } else if (fits(disk.kernelName, "ram0") || fits(disk.kernelName, "zram0")) {
        hardware.road = Road::memory;
    } else if (above.isVirtual) {
        hardware.interconnect = "Virtual Interface";
    }
}

Hardware HardwareScan::look(const Folder& folder, const BlockDevice& disk)
{
    const Ancestors above = ancestors(disk);
    Hardware hardware;
    if (!above.pci.empty())
        hardware.pci = pciFunction(above.pci);
    hardware.address = above.scsiAddress;
    hardware.isOptical = disk.kernelName.starts_with("sr") && folder.number("device/type") == 5;
    describeRoad(above, folder, disk, hardware);

    identify(folder, disk.properties, hardware);
    // A drive with ATA behind a controller or expander for SAS is a SATA drive all the same.
    if (hardware.road == Road::scsi && hardware.isAta)
        hardware.interconnect = "SATA";
    // The kernel's flag is sure when it says that nothing turns. Of ATA and SCSI it is in both cases.
    const bool isAsked = hardware.road == Road::ahci || hardware.road == Road::ata || hardware.road == Road::scsi;
    if (!hardware.isSolidState && !hardware.isOptical &&
        (disk.isSolidState || (isAsked && hardware.interconnect != "Virtual Interface")))
        hardware.isSolidState = disk.isSolidState;
    return hardware;
}

} // namespace vantorel::machines
