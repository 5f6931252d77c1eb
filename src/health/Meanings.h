// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/health/Meaning.h"
#include "vantorel/health/TypedValue.h"

#include <cstdint>
#include <string_view>

namespace vantorel::health {

/// The drives that a row is about.
enum class DriveKind : std::uint8_t { any, hdd, ssd };

/// What one count of the raw number stands for.
struct Measure {
    Unit unit = Unit::none;
    std::uint32_t factor = 1;
};

/// The part of the raw number that counts. Formats that have parts of their own come before all but the hundredths.
enum class Width : std::uint8_t {
    whole,
    low8,
    low16,
    low24,
    low32,
    low16IfPacked, ///< the low 16 bits where higher ones are set
    above32,       ///< the bits from 32 up
    seagateLow16,  ///< the low 16 bits on Seagate's drives, else 32
    seagateHigh,   ///< the bits from 32 up on Seagate's drives, else all
    highByte,      ///< bits 8 to 15 whole, bits 0 to 7 hundredths
    hundredths,    ///< the low 16 bits, in hundredths
};

/// What a raw name means, for some numbers and families.
struct MeaningRow {
    std::string_view name;
    std::string_view ids; ///< attribute numbers in decimal, separated by commas
    DriveKind kind;
    Meaning meaning;
    Measure measure;
    Width width;
    Confidence confidence;
    std::string_view families;
};

/// A drive as meanings ask for it.
struct DriveNames {
    std::string_view family; ///< empty without a row in the drive table
    std::string_view model;
    bool isSSD = false;
};

[[nodiscard]] bool isSeagate(const DriveNames& drive);

/// The meaning of an attribute, and how sure it is. A row for the same name and number, but for other families, gives
/// what it says with low confidence. Nothing when no row speaks of the name and number.
struct MeaningFound {
    const MeaningRow* row = nullptr;
    Confidence confidence = Confidence::low;
};
/// `isDefaultName`: the default row gives this name to this number.
[[nodiscard]] MeaningFound meaningOf(std::string_view name, std::uint8_t id, NameSource source, bool isDefaultName,
                                     const DriveNames& drive);

} // namespace vantorel::health
