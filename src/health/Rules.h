// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Meanings.h"
#include "vantorel/health/Verdict.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace vantorel::health {

/// What a rule looks at.
enum class Signal : std::uint8_t {
    // the drive's own word
    saysFailing,
    saysFailingUnexplained,
    // ATA values and their limits; the value is the normalised one
    preFailLimit,   ///< a pre-failure value at its limit
    errorLimit,     ///< an old-age value that counts damage, at its limit
    errorLimitOnce, ///< a pre-failure count of damage whose worst value was
    // counts of damage
    pending,
    uncorrectable,
    reportedUncorrect,
    mediaErrors,
    reallocated,
    reallocationEvents,
    endToEnd,
    spinRetries,
    calibrationRetries,
    grownBlocks,
    // of cable, power and computer
    interfaceErrors,
    linkDownshifts,
    commandTimeouts,
    unsafeShutdowns,
    refusedCommands,
    // wear and reserve of flash memory
    wear,
    spare,     ///< ATA: percent left
    logSpare,  ///< NVMe: percent left, beside the limit that the log tells
    spareFall, ///< NVMe: percent of reserve lost beyond the percent of life used
    reserveUsed,
    writeProtection,
    helium, ///< the normalised value
    // heat; the limit is the drive's own or the usual one
    criticalHeat,
    heat,
    usualCriticalHeat,
    usualHeat,
    criticalHeatTime,
    // bits of the critical warning of an NVMe drive
    warnsSpare,
    warnsHeat,
    warnsReliability,
    warnsReliabilityWorn, ///< and nothing but wear explains it
    warnsReadOnly,
    warnsBackup,
    warnsPersistentMemory,
    warnsReserved,
    // what makes a reading no base for a verdict
    bytesTooFew,
    bytesRepeated,
    bytesNotSmart,
    idsTwice,
    bytesStale,
    otherDrive,
    logEmpty,
    logBroken,
    nothingKnown,
    // what lowers the trust in it
    wrongChecksum,
    foreignThresholds,
    clockWentBack,
    comparedToOther,
    hoursShrank,
    // what the result calls failed and the verdict does not
    asideNoLimit,
    asideOddLimit,
    asideForeignName,
    asideValueIsRaw,
    asideNotUsed,
    asideUse,
    asideOnce,
    asideCountOfZero,
    asideImpossible,
    // nothing found
    allClear,
};

/// When a rule holds for what it looks at.
enum class When : std::uint8_t {
    always,
    atLeast,      ///< value >= number
    atMost,       ///< value <= number
    below,        ///< value < number
    belowLimit,   ///< value < limit
    atLimit,      ///< value == limit
    reachesLimit, ///< value >= limit
    rateTimes,    ///< the measured failure rate is certainly above `number` times that of 0, see `MeasuredRate::times`
    grew,         ///< by `number` or more since the earlier reading
    persists,     ///< above 0 now and in the earlier reading
};

struct Rule {
    std::string_view id;
    DriveKind drives;
    Signal signal;
    When when;
    std::uint8_t number; ///< see `When`
    Level level;
    std::string_view sentence; ///< see Sentence.h
    std::string_view source;
};

/// What is said of a signal that is clear, in the sentence of a good drive.
struct ClearWords {
    DriveKind drives;
    Signal signal;
    std::string_view atZero;    ///< of a value of 0
    std::string_view otherwise; ///< of any other; empty to say nothing
};

/// The rules of a signal in the order in which they are tried: the first that holds counts.
[[nodiscard]] std::span<const Rule> rulesOf(Signal signal);

[[nodiscard]] std::span<const Rule> allRules();

/// In the order in which a sentence names them.
[[nodiscard]] std::span<const ClearWords> clearWords();

} // namespace vantorel::health
