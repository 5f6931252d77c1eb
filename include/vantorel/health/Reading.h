// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"
#include "vantorel/smart/records/SmartObject.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {
namespace health {

/// One reading of one drive: what is judged. Everything is a view of what somebody else owns, valid for the length of
/// the call that the reading is passed to.
struct Reading {
    enum class Kind : std::uint8_t { ata, nvme };

    Kind kind = Kind::ata;
    DataView data;       ///< the SMART data sector, or the NVMe health log (log page 2)
    DataView thresholds; ///< ATA: the thresholds sector; empty when there is none
    DataView identify;   ///< IDENTIFY DEVICE or Identify Controller data; empty when unknown
    std::string_view model;
    std::string_view serial;   ///< empty when unknown
    std::string_view firmware; ///< empty when unknown
    bool isSSD = false;        ///< ATA: decides which names and which rules hold; an NVMe drive is always one

    /// ATA: what the drive tables know of the drive. Null to have model and firmware looked up.
    const KnownDrive* known = nullptr;

    /// The drive's own answer to SMART RETURN STATUS; absent when it was not asked or gave none.
    std::optional<bool> saysFailing;

    /// Limits of the temperature in Celsius where the drive tells them (SCT status); for NVMe they are taken from
    /// `identify` when absent here.
    std::optional<int> warningTemperature;
    std::optional<int> criticalTemperature;
};

/// The reading that a result was made from. The views are into `result`. The result of a saved NVMe log keeps no bytes:
/// its reading has no `data` until the caller sets it.
[[nodiscard]] Reading readingOf(const SmartObject& result, bool isSSD);

} // namespace health
} // namespace vantorel
