// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveTables.h"
#include "vantorel/health/Verdict.h"
#include "vantorel/smart/DriveReading.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vantorel::host {

/// What was read of a drive, what the drive tables know of it, and the verdict.
struct JudgedReading {
    /// Judges a reading. `savedLog` is the health log that an NVMe result was made of where it keeps none.
    JudgedReading(DriveReading reading, bool isSSD, Data savedLog = {});

    DriveReading reading;
    bool isSSD;
    Data data;                       ///< the SMART data sector or the health log
    std::optional<KnownDrive> known; ///< of ATA drives
    health::Verdict verdict;
    /// When the earlier reading was made that the verdict compares with, in milliseconds since 1970.
    std::optional<std::int64_t> comparedTo;

    [[nodiscard]] bool isNvme() const { return reading.result.as<NVMeSmartObject>() != nullptr; }

    /// The reading as `judge` takes it, into views of this object.
    [[nodiscard]] health::Reading view() const;

    /// The bits of the exit status (`Status`) that the verdict calls for.
    [[nodiscard]] int status() const;
};

/// The bits that a level calls for.
[[nodiscard]] int statusOf(health::Level level);

} // namespace vantorel::host
