// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DeviceFile.h"
#include "SenseData.h"
#include "UsbBridge.h"
#include "vantorel/system/Machine.h"

#include <cstddef>
#include <memory>
#include <optional>

namespace vantorel::channels {

/// How an ATA command ended.
struct AtaAnswer {
    system::IOReturn status = system::kIOReturnSuccess;
    std::size_t received = 0;              ///< bytes put into the command's `read`
    std::optional<AtaRegisters> registers; ///< as the command left them, where they were asked for and can be had
};

/// How ATA commands get to a drive: wrapped into SCSI commands, one for the command and, with some bridges, another one
/// for the registers it left.
class AtaRoad {
public:
    AtaRoad() = default;
    AtaRoad(const AtaRoad&) = delete;
    AtaRoad& operator=(const AtaRoad&) = delete;
    virtual ~AtaRoad() = default;

    /// Sends a command that moves data from the drive or none, in whole sectors, of 28 bits.
    [[nodiscard]] virtual AtaAnswer send(const system::AtaCommand& command, bool wantsRegisters) = 0;
    /// Whether it can tell what CHECK POWER MODE leaves in the registers.
    [[nodiscard]] virtual bool tellsPowerMode() const { return true; }
};

/// The road through ATA PASS-THROUGH as the kernel and host adapters speak it: of 16 bytes, or of 12 where those are
/// not known (SAT-3).
[[nodiscard]] std::unique_ptr<AtaRoad> directRoad(DeviceFile file);

/// The road through a USB bridge that takes ATA commands.
[[nodiscard]] std::unique_ptr<AtaRoad> usbRoad(const UsbBridge& bridge, DeviceFile file);

} // namespace vantorel::channels
