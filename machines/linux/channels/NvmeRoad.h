// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DeviceFile.h"
#include "DeviceNode.h"
#include "UsbBridge.h"
#include "vantorel/system/Machine.h"

#include <memory>

namespace vantorel::channels {

// Channels of NVMe controllers. They send Identify and Get Log Page and no other command, and only as long as the
// buffer is what the controller will fill; all else ends with `kIOReturnUnsupported` or `kIOReturnBadArgument`.

/// Through the kernel's driver.
[[nodiscard]] std::unique_ptr<system::NvmeChannel> kernelNvme(DeviceFile file);

/// Through a USB bridge that takes NVMe commands, with what each of them leaves out: other log pages than those for
/// all namespaces, offsets, all of a page behind its first 512 bytes (Realtek; less is received), all of the self-test
/// log behind its first 536 (JMicron).
[[nodiscard]] std::unique_ptr<system::NvmeChannel> usbNvme(NvmeWrapping wrapping, DeviceFile file);

/// Model, serial and firmware by Identify Controller.
struct NvmeIdentity {
    system::IOReturn status = system::kIOReturnSuccess;
    DriveIdentity identity;
};
[[nodiscard]] NvmeIdentity identifyController(system::NvmeChannel& channel);

/// Reads the health log and throws it away: it is there on every controller, and unlike Identify the kernel lets only
/// those read it who may read all else.
[[nodiscard]] system::IOReturn tryHealthLog(system::NvmeChannel& channel);

} // namespace vantorel::channels
