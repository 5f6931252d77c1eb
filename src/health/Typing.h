// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Meanings.h"
#include "vantorel/ata/DriveDatabase.h"
#include "vantorel/layouts/AtaSmart.h"

namespace vantorel::health {

/// An attribute's raw bytes as a number: taken apart by the definition's format, then measured by what they mean
/// (`row`, which may be null).
[[nodiscard]] TypedValue typedValue(const IOATASmartAttribute& attribute, const ATASmartAttributeDefinition& definition,
                                    const MeaningRow* row, const DriveNames& drive);

/// `count` units of `measure`; not plausible where that does not fit.
[[nodiscard]] TypedValue measured(UInt128 count, const Measure& measure);

/// The highest power-on time that is believed: 22 years, more than any drive that tells one.
inline constexpr std::int64_t mostHours = 200'000;
inline constexpr int coldest = -20; ///< Celsius, below which no drive works
inline constexpr int hottest = 110;

} // namespace vantorel::health
