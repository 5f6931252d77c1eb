// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/base/RawValue.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {
namespace health {

/// What an attribute tells of a drive. ATA numbers mean what the maker says, so this is settled by raw name, number,
/// kind of drive and family together (`src/health/Meanings.inc`); NVMe fields mean what the standard says.
enum class Meaning : std::uint8_t {
    unknown,
    information, ///< no matter of health
    notUsed,     ///< there to fill a slot; its bytes mean nothing
    reallocatedSectors,
    reallocationEvents,
    pendingSectors,    ///< wait to be rewritten
    uncorrectable,     ///< could not be read, found by a scan
    reportedUncorrect, ///< could not be read, and the host saw it
    mediaErrors,       ///< NVMe: media and data integrity errors
    endToEndErrors,
    commandTimeouts,
    interfaceErrors, ///< of cable, backplane or power
    linkDownshifts,
    spinRetries,
    calibrationRetries,
    programFailures,
    eraseFailures,
    correctedErrors,
    errorRate,
    helium,
    headHealth,
    powerLossProtection,
    thermalThrottle,
    writeProtection,      ///< 0 as long as the drive may be written
    enduranceLeftByValue, ///< percent, in the normalised value
    enduranceLeftFrom200, ///< the same, 200 new and 100 worn
    enduranceLeft,        ///< percent, in the raw number
    enduranceUsed,        ///< percent, in the raw number, may pass 100
    spareLeftByValue,     ///< percent, in the normalised value
    spareLeft,            ///< percent, in the raw number
    spareLimit,           ///< NVMe: the percentage of spare below which the drive warns
    spareLeftBlocks,
    spareUsedBlocks,
    spareInitial,
    spareExhausted,
    reserveUsed, ///< percent, in the raw number
    badBlocksGrown,
    badBlocksAtBirth, ///< or a sum that holds them: never a fault
    packed,           ///< several numbers in one, no rule known
    eraseCycles,
    workload,
    temperature,
    temperatureSensor, ///< NVMe: one of several, without limits
    temperatureTime,   ///< NVMe: minutes above a limit, in the drive's life
    powerOnTime,
    powerCycles,
    unsafeShutdowns,
    spinUpTime,
    hostWritten,
    hostRead,
    flashWritten,
    flashRead,
    hostCommands,
    busyTime,
    errorLogEntries, ///< NVMe: commands refused, mostly
    criticalWarning, ///< NVMe: bits
};

/// Where the name of an attribute comes from.
enum class NameSource : std::uint8_t {
    row,        ///< the drive's row of the table
    defaultRow, ///< the default definitions, for this kind of drive
    nothing,    ///< no definition is this drive's
    standard,   ///< NVMe: the standard names it
};

/// How sure a meaning is. Of a low one come notes, never a level.
enum class Confidence : std::uint8_t { low, medium, high };

} // namespace health
} // namespace vantorel

template <>
inline constexpr std::array<std::string_view, 4> vantorel::rawTexts<vantorel::health::NameSource> = {
    "row", "default", "nothing", "standard"};

template <>
inline constexpr std::array<std::string_view, 3> vantorel::rawTexts<vantorel::health::Confidence> = {"low", "medium",
                                                                                                     "high"};

template <>
inline constexpr std::array<std::string_view, 56> vantorel::rawTexts<vantorel::health::Meaning> = {
    "unknown",
    "information",
    "notUsed",
    "reallocatedSectors",
    "reallocationEvents",
    "pendingSectors",
    "uncorrectable",
    "reportedUncorrect",
    "mediaErrors",
    "endToEndErrors",
    "commandTimeouts",
    "interfaceErrors",
    "linkDownshifts",
    "spinRetries",
    "calibrationRetries",
    "programFailures",
    "eraseFailures",
    "correctedErrors",
    "errorRate",
    "helium",
    "headHealth",
    "powerLossProtection",
    "thermalThrottle",
    "writeProtection",
    "enduranceLeftByValue",
    "enduranceLeftFrom200",
    "enduranceLeft",
    "enduranceUsed",
    "spareLeftByValue",
    "spareLeft",
    "spareLimit",
    "spareLeftBlocks",
    "spareUsedBlocks",
    "spareInitial",
    "spareExhausted",
    "reserveUsed",
    "badBlocksGrown",
    "badBlocksAtBirth",
    "packed",
    "eraseCycles",
    "workload",
    "temperature",
    "temperatureSensor",
    "temperatureTime",
    "powerOnTime",
    "powerCycles",
    "unsafeShutdowns",
    "spinUpTime",
    "hostWritten",
    "hostRead",
    "flashWritten",
    "flashRead",
    "hostCommands",
    "busyTime",
    "errorLogEntries",
    "criticalWarning",
};
