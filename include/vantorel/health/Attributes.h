// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/health/Meaning.h"
#include "vantorel/health/Reading.h"
#include "vantorel/health/TypedValue.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {
namespace health {

/// One attribute, typed.
struct Attribute {
    std::uint8_t id = 0; ///< ATA: attribute number; NVMe: 0
    std::string name;    ///< raw name (`Power_On_Hours`, `PercentageUsed`)
    NameSource nameSource = NameSource::nothing;
    Meaning meaning = Meaning::unknown;
    Confidence confidence = Confidence::low; ///< of `meaning`
    TypedValue value;

    // ATA alone:
    std::uint8_t current = 0;
    std::uint8_t worst = 0;
    std::optional<std::uint8_t> threshold; ///< absent when the thresholds sector has none for this attribute
    bool preFail = false;
    bool valueIsRaw = false; ///< the normalised bytes are part of the raw number and are judged by no threshold
};

/// All attributes of a reading in the drive's order: the slots in use, or the fields of the log with their sensors.
/// Nothing when the bytes are too few. Never throws on any bytes.
[[nodiscard]] std::vector<Attribute> attributesOf(const Reading& reading);

} // namespace health
} // namespace vantorel
