// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "HistoryStore.h"
#include "vantorel/health/JudgedReading.h"
#include "vantorel/health/Verdict.h"

#include <optional>
#include <string>
#include <vector>

/// What a history says about drives: a reading judged beside it, what grew and when.
namespace vantorel::host {

/// Now, by the computer's clock.
[[nodiscard]] Timestamp currentTime();

/// How far back growth weighs: what grew longer ago is told as a number and no more.
inline constexpr Timestamp recentPast = Timestamp{30} * 24 * 60 * 60 * 1000;

/// Judges a reading taken at that time beside the earlier one that tells most about it, with the counts that were
/// acknowledged. When damage grew in the recent past, that is the reading before it began to; else the oldest one since
/// which none grew. Gives the time of the earlier reading; without one the verdict is that of the reading alone.
std::optional<Timestamp> judgeBeside(HistoryStore& store, health::JudgedReading& judged, Timestamp time);

/// What became of a reading that was to be kept.
struct Kept {
    Timestamp time = 0;                     ///< that it is kept under
    std::optional<health::Level> lastLevel; ///< of the reading before; absent for the first of a drive
    std::optional<Timestamp> clockBefore;   ///< of a reading that is newer by the clock, which has gone back since
    bool grew = false;                      ///< whether a count of damage grew since the reading before
};

/// Keeps a reading with its verdict; to be called within a transaction of the store. Absent, and nothing kept, when the
/// drive tells neither a serial number nor a name of its own, or gave more bytes than a drive can. Where there is one
/// of this very time, a live reading is kept under the next free one.
[[nodiscard]] std::optional<Kept> keep(HistoryStore& store, const health::JudgedReading& judged,
                                       const std::string& machine, Timestamp time);

/// `keep` for a reading of the past; nothing happens when there is one of this very time.
[[nodiscard]] std::optional<Kept> keepPast(HistoryStore& store, const health::JudgedReading& judged,
                                           const std::string& machine, Timestamp time);

/// Damage that grew from one kept reading to the next.
struct Growth {
    Timestamp since = 0; ///< the reading before
    Timestamp time = 0;
    std::string machine;
    health::Comparison comparison;
};

/// What grew, the oldest first; of very much the latest `most`.
[[nodiscard]] std::vector<Growth> growths(HistoryStore& store, const KeptDrive& drive, std::size_t most);

/// Takes in the counts that a rule tells of in the last reading of a drive: see `KnownCount`. Throws `CommandError`
/// with the rules there are when that one tells of none.
std::vector<KeptAcknowledgement> acknowledge(HistoryStore& store, const KeptDrive& drive, const std::string& rule,
                                             Timestamp time);

} // namespace vantorel::host
