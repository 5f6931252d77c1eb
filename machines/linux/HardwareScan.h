// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "SystemScan.h"

#include <map>
#include <memory>
#include <string>

namespace vantorel::machines {

/// Tells what stands behind whole disks. It keeps the controllers that it met, which many disks share: make a new one
/// for each look at the system.
class HardwareScan {
public:
    /// `sysfs` is where sysfs is mounted, "/sys".
    explicit HardwareScan(std::string sysfs) : sysfs_(std::move(sysfs)) {}

    /// The hardware of the whole disk in `folder`, whose path, kernel name and properties are known.
    [[nodiscard]] Hardware look(const Folder& folder, const BlockDevice& disk);

private:
    struct Ancestors;

    [[nodiscard]] Ancestors ancestors(const BlockDevice& disk) const;
    void describeRoad(const Ancestors& above, const Folder& folder, const BlockDevice& disk, Hardware& hardware);
    void describeScsi(const Ancestors& above, Hardware& hardware) const;
    [[nodiscard]] std::shared_ptr<const PciFunction> pciFunction(const std::string& path);
    [[nodiscard]] std::shared_ptr<const UsbDevice> usbDevice(const std::string& path);
    [[nodiscard]] std::shared_ptr<const NvmeController> nvmeController(const std::string& path);

    std::string sysfs_;
    std::map<std::string, std::shared_ptr<const PciFunction>> pci_;
    std::map<std::string, std::shared_ptr<const UsbDevice>> usb_;
    std::map<std::string, std::shared_ptr<const NvmeController>> nvme_;
};

} // namespace vantorel::machines
