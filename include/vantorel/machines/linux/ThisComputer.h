// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/system/Machine.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace VANTOREL_PUBLIC vantorel {
namespace channels {

/// How a USB bridge is spoken to, by its vendor, product and version (`bcdDevice`), in the words of the drive table's
/// `-d`: "sat", "sat,12", "usbjmicron,x", "sntjmicron/sat", …. The empty text: it carries no commands. Absent: the
/// bridge is not known.
using UsbBridgeLookUp =
    std::function<std::optional<std::string>(std::uint16_t vendor, std::uint16_t product, std::uint16_t version)>;

struct ChannelOptions {
    bool wake = false; ///< send commands to drives that sleep, too
    UsbBridgeLookUp usbBridge;
};

} // namespace channels

namespace machines {

/// The computer that this process runs on, to be installed: its registry made from sysfs and udev, its volumes from
/// libmount and libblkid. docs/linux.md tells what stands for what. A USB bridge that is to be asked of the drive
/// tables is looked up with `usbBridge` (`ata/DriveTables.h`), which the machine does not know by itself.
///
/// From its start on one thread of its own waits for events. Where there is nothing to see, as in a container without
/// sysfs, it is a computer without disks.
[[nodiscard]] std::unique_ptr<system::Machine> thisComputer(channels::ChannelOptions options = {});

} // namespace machines
} // namespace vantorel
