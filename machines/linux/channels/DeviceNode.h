// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vantorel::channels {

/// A drive as the kernel shows it: a whole disk such as /dev/sda or /dev/nvme0n1, or a controller such as /dev/nvme0.
/// The node of a namespace is the better one of an NVMe drive, as users may be given access to it by group.
struct DeviceNode {
    std::string path;                          ///< "/dev/sda"
    std::string sysfs;                         ///< its folder, "/sys/devices/…/block/sda"
    std::optional<std::uint64_t> diskSequence; ///< `diskseq` of the kernel; without it a node may change hands unseen
    std::string usbVendor;                     ///< four hexadecimal digits, as in sysfs `idVendor`; empty: not on USB
    std::string usbProduct;                    ///< `idProduct`
    std::string usbVersion;                    ///< `bcdDevice`
};

/// What a drive says of itself; texts are trimmed.
struct DriveIdentity {
    std::string model;
    std::string serial;
    std::string firmware;
};

} // namespace vantorel::channels
