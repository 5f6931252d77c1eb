// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/smart/records/AtaSmartObject.h"
#include "vantorel/smart/records/SmartError.h"
#include "vantorel/smart/records/SmartObject.h"

#include <cstdint>
#include <optional>

namespace VANTOREL_PUBLIC vantorel {

/// What a reading has to know of a drive. A `Drive` belongs to the registry's thread; this is a value of its own, made
/// there and handed to whichever thread reads.
struct ReadableDrive {
    /// Id of the nearest registry entry above the drive's own that declares itself SMART capable; 0 when there is none.
    std::uint64_t service = 0;
    /// What kind of commands that entry takes. A drive on USB may be either: where none is capable in the way of the
    /// drive's interface, one that is in the other way counts.
    bool isNvme = false;
    bool isSSD = false;
    ATADeviceInfo identity; ///< as the registry knows it; "Unknown" for a model that it does not know

    /// On the registry's thread.
    [[nodiscard]] static ReadableDrive of(const Drive& drive);
};

/// What was read of a drive: its health result, and what the drive told besides, of which a result keeps nothing.
struct DriveReading {
    SmartObject result;
    Data identify;                   ///< IDENTIFY DEVICE or Identify Controller data; empty where it did not answer
    std::optional<bool> saysFailing; ///< ATA: its answer to SMART RETURN STATUS; absent where it gave none
};

/// Reads a drive. The result is the one that `SmartController` gives of it, by the same steps; then an ATA drive is
/// asked for its own opinion and its identify data. Throws `SmartError`, of the kind `SmartOpenError` as long as no
/// command was sent. Blocks the calling thread, which may be any: different drives may be read at once, of one drive
/// the second reading fails.
[[nodiscard]] DriveReading readDrive(const ReadableDrive& drive);

} // namespace vantorel
