// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/machines/recorded/Recording.h"

#include <optional>
#include <span>
#include <string>

namespace VANTOREL_PUBLIC vantorel {
namespace recorded {

/// What was saved of one drive together with a listing of the registry.
struct SavedSmart {
    std::string disk; ///< device name of the whole disk, such as "disk0"
    RecordedDrive::Kind kind = RecordedDrive::Kind::ata;
    std::optional<Data> data;       ///< the ATA data sector or the NVMe health log; absent where it was not to be had
    std::optional<Data> thresholds; ///< the ATA thresholds sector
    std::optional<Data> identify;   ///< IDENTIFY DEVICE or Identify Controller data
    std::optional<Data> errorLog;   ///< NVMe: log page 1
    std::optional<bool> failing;    ///< ATA: as the drive judged itself
};

/// The machine that a listing tells of, with drives that answer what was saved of them. What was not saved they do not
/// know; but of its identity an NVMe controller then knows what the listing says. `file` is the name of the listing in
/// faults. Throws `RecordingError` when there is no entry in the listing.
[[nodiscard]] Recording savedMachine(DataView listing, const std::string& file, std::span<const SavedSmart> drives);

} // namespace recorded
} // namespace vantorel
