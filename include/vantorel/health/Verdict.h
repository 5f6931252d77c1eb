// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/health/Attributes.h"
#include "vantorel/health/Reading.h"
#include "vantorel/health/TypedValue.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// A verdict on a drive, with its reasons. docs/health.md tells the rules, their borders and their sources.
///
///     const Verdict verdict = judge(readingOf(result, isSSD));
///     if (verdict.level == Level::failing)
///         tell(verdict.reasons.front().sentence);
namespace VANTOREL_PUBLIC vantorel {
namespace health {

enum class Level : std::uint8_t {
    good,
    watch,   ///< worth a look now and then
    atRisk,  ///< replace it in time
    failing, ///< save the data now
    unknown, ///< nothing can be said
};

/// The level as words for a reader: "at risk".
[[nodiscard]] std::string_view words(Level level);

/// What was measured of disks that showed a number as high as this one.
struct FailureRate {
    double perYear = 0;                   ///< failures per drive and year; may pass 1
    double low = 0;                       ///< the 95 % interval of it
    double high = 0;                      ///< the 95 % interval of it
    std::uint64_t from = 0;               ///< the numbers that the rate was measured at
    std::optional<std::uint64_t> through; ///< absent: `from` or more
};

/// One thing that a rule found.
struct Reason {
    std::string_view rule;      ///< the rule's id: a key that stays
    Level level = Level::good;  ///< what it alone would make of the drive
    std::uint8_t attribute = 0; ///< ATA attribute number, 0 for none
    std::string name;           ///< raw name, empty when the reason is about no single attribute
    std::optional<TypedValue> value;
    std::optional<TypedValue> limit;        ///< what the value is held against
    std::optional<FailureRate> rate;        ///< of disks with such a value
    std::optional<FailureRate> rateWithout; ///< of disks that show 0
    std::string sentence;                   ///< for a reader; no full stop
    std::string_view source;                ///< where the rule comes from
};

/// A number that changed between two readings.
struct Change {
    std::uint8_t attribute = 0;
    std::string name;
    Meaning meaning = Meaning::unknown;
    TypedValue before;
    TypedValue now;
    Int128 by = 0;       ///< `now` less `before`, with the decimals and unit of `now`
    bool damage = false; ///< a count of damage has grown
};

/// What two readings of one drive tell.
struct Comparison {
    std::optional<std::int64_t> hours; ///< powered hours in between; negative when the earlier one is the later
    std::vector<Change> changes;       ///< counts of errors, wear, spare, shutdowns; in the drive's order

    /// Whether a count of damage has grown.
    [[nodiscard]] bool damageGrew() const;
};

struct Verdict {
    Level level = Level::unknown;
    bool doubtful = false; ///< the sector's checksum is wrong: what it says may be, too
    /// Why the level is what it is, the worst first. Never empty: a good drive has the reason that nothing was found.
    std::vector<Reason> reasons;
    std::vector<Reason> notes;             ///< worth knowing, of no weight
    std::vector<Reason> setAside;          ///< what the result calls failed and this verdict does not, and why not
    std::optional<TypedValue> temperature; ///< in Celsius
    std::optional<TypedValue> powerOnTime; ///< see `wholeHours`
    std::optional<TypedValue> wear;        ///< percent of the rated life used
    std::optional<TypedValue> spare;       ///< percent of the reserve left
    std::optional<Comparison> comparison;  ///< for two readings of one drive

    /// What every level `good` has to be read with.
    static constexpr std::string_view promise =
        "good promises nothing: 56 % of the disks that failed in a study had shown none of the strong signals";
    static constexpr std::string_view promiseSource =
        "Pinheiro, Weber, Barroso: Failure Trends in a Large Disk Drive Population, FAST 2007";
};

/// A count that somebody has seen and taken in: until it grows it is told as a note and makes the drive no worse.
struct KnownCount {
    std::string rule; ///< id of the reason that told of it
    std::string name; ///< raw name of its attribute
    Int128 number = 0;
};

/// The reason as a count to be known; absent for one that is none, such as a temperature, a limit that was reached or
/// the drive's own word.
[[nodiscard]] std::optional<KnownCount> knownCount(const Reason& reason);

/// What is known of a drive before a reading is judged. Views of what somebody else owns, for the length of the call.
struct Past {
    const Reading* before = nullptr; ///< an earlier reading of it; null without one
    std::span<const KnownCount> known;
};

/// Judges a reading. Any bytes give a verdict; nothing is thrown but for want of memory. Any thread.
[[nodiscard]] Verdict judge(const Reading& now);

/// Judges a reading beside an earlier one of the same drive: what has grown counts too. Readings of two drives (another
/// kind, model or serial number) are not compared; the verdict is then that of `now`, with a note.
[[nodiscard]] Verdict judge(const Reading& now, const Reading& before);

/// The same with all that is known.
[[nodiscard]] Verdict judge(const Reading& now, const Past& past);

} // namespace health
} // namespace vantorel

template <>
inline constexpr std::array<std::string_view, 5> vantorel::rawTexts<vantorel::health::Level> = {
    "good", "watch", "atRisk", "failing", "unknown"};
