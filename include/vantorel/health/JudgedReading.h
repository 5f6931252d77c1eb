// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Public.h"
#include "vantorel/health/Verdict.h"
#include "vantorel/smart/DriveReading.h"

#include <optional>
#include <string>

namespace VANTOREL_PUBLIC vantorel {
namespace health {

/// A reading of a drive together with what the drive tables know of it and the verdict: a value that needs nothing
/// else.
///
///     const JudgedReading judged(SmartController::shared().getSmartData(snapshot));
///     tell(words(judged.verdict.level), judged.verdict.reasons.front().sentence);
struct JudgedReading {
    /// Judges a reading. `savedLog` is the health log that an NVMe result was made of where it keeps none. Any thread.
    explicit JudgedReading(DriveReading reading, Data savedLog = {});

    DriveReading reading;
    Data data;                       ///< the SMART data sector or the health log
    std::optional<KnownDrive> known; ///< of ATA drives
    Verdict verdict;

    [[nodiscard]] bool isNvme() const { return reading.result.as<NVMeSmartObject>() != nullptr; }

    /// The reading as `judge` takes it, into views of this object.
    [[nodiscard]] Reading view() const;
};

/// Judges the two saved sectors of an ATA drive; absent when one has fewer than 512 bytes. `model` selects the row of
/// the drive table. Any thread, like the next.
[[nodiscard]] std::optional<JudgedReading> judgeSavedAta(DataView data, DataView thresholds, const std::string& model,
                                                         bool isSSD);

/// Judges the saved health log of an NVMe drive; absent when it has fewer than 512 bytes. `identify`, its Identify
/// Controller data, tells model and limits of temperature; empty or cut short it tells nothing.
[[nodiscard]] std::optional<JudgedReading> judgeSavedNvme(DataView log, DataView identify = {});

} // namespace health
} // namespace vantorel
