// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DeviceFile.h"
#include "SenseData.h"
#include "vantorel/base/Data.h"
#include "vantorel/system/IOReturn.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vantorel::channels {

/// One SCSI command. Data go one way or the other, not both.
struct ScsiCommand {
    Data block;                   ///< the command descriptor block: 12, 14 or 16 bytes
    std::span<std::uint8_t> read; ///< where the device's data go
    DataView write;               ///< what the device is sent
    std::chrono::milliseconds timeout{};
};

/// How a SCSI command ended.
struct ScsiResult {
    system::IOReturn status = system::kIOReturnSuccess; ///< as the device and the way to it have it
    std::size_t received = 0;                           ///< bytes put into `read`
    std::optional<SenseData> sense;                     ///< only with CHECK CONDITION
};

/// Sends a command by SG_IO and waits for its end. One that the device put off to say that something happened before
/// (UNIT ATTENTION, a deferred error) is sent once more.
///
/// With CHECK CONDITION the status goes by the registers of the ATA drive where the sense data hold them, else by the
/// sense key: `kIOReturnUnsupported` for a command that was refused or aborted, `kIOReturnNotReadable` for a bad
/// medium.
[[nodiscard]] ScsiResult execute(const DeviceFile& file, const ScsiCommand& command);

/// The status of an ATA command that left these registers.
[[nodiscard]] system::IOReturn statusOfRegisters(const AtaRegisters& registers);

} // namespace vantorel::channels
