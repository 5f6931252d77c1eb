// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Recording.h"

#include <optional>
#include <span>
#include <string>

namespace vantorel::recorded {

/// SMART data of one drive that were saved together with a listing of the registry.
struct SavedSmart {
    std::string disk; ///< device name of the whole disk, such as "disk0"
    RecordedDrive::Kind kind = RecordedDrive::Kind::ata;
    Data data;                      ///< the ATA data sector or the NVMe health log
    std::optional<Data> thresholds; ///< the ATA thresholds sector
};

/// The machine that a listing tells of, with drives that answer what was saved of them. What was not saved, a drive's
/// own verdict or its logs, they do not know; an NVMe controller knows of its identity what the listing says.
/// `file` is the name of the listing in faults. Throws `RecordingError` when there is no entry in the listing.
[[nodiscard]] Recording savedMachine(DataView listing, const std::string& file, std::span<const SavedSmart> drives);

} // namespace vantorel::recorded
