// SPDX-License-Identifier: GPL-2.0-or-later
#include "History.h"

#include "host/console/Output.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

namespace vantorel::host {

namespace {

using health::Reading;
using health::Verdict;

/// A reading and how the one at hand compares to it.
struct Step {
    KeptReading before;
    health::Comparison comparison;
};

std::optional<health::Comparison> compared(const Reading& now, const KeptReading& before, const DriveIdentity& drive)
{
    const Reading earlier = before.saved.view(drive);
    return health::judge(now, earlier).comparison;
}

/// The last reading before that time with which this one can be compared: a few may have come through as nonsense.
std::optional<Step> stepTo(HistoryStore& store, const KeptDrive& drive, const Reading& now, Timestamp time)
{
    constexpr int mostNonsense = 8;
    for (int i = 0; i < mostNonsense; ++i) {
        auto before = store.lastBefore(drive, time);
        if (!before)
            break;
        if (auto comparison = compared(now, *before, drive.identity))
            return Step{*std::move(before), *std::move(comparison)};
        time = before->time;
    }
    return std::nullopt;
}

bool hoursWentBack(const health::Comparison& comparison)
{
    return comparison.hours.value_or(0) < 0;
}

std::optional<KeptReading> earlierReading(HistoryStore& store, const KeptDrive& drive, const Reading& now,
                                          Timestamp time)
{
    auto last = stepTo(store, drive, now, time);
    if (!last || hoursWentBack(last->comparison))
        return last ? std::optional(std::move(last->before)) : std::nullopt;
    constexpr Timestamp ever = std::numeric_limits<Timestamp>::min();
    const auto starts = store.marked(drive, firstOfItsClock, ever, time);
    const Timestamp begin = starts.empty() ? last->before.time : starts.back();
    const auto recent = store.marked(drive, damageGrewHere, std::max(begin + 1, time - recentPast), time);
    if (!recent.empty())
        return store.lastBefore(drive, recent.front());
    if (last->comparison.damageGrew())
        return std::move(last->before);
    const auto older = store.marked(drive, damageGrewHere, begin, time);
    return store.at(drive, older.empty() ? begin : older.back());
}

/// Whether the bytes make sense: else they compare with nothing, not even themselves.
bool isSane(const Reading& reading)
{
    return health::judge(reading, reading).comparison.has_value();
}

/// Marks a reading, and the one before it, by what happened in between. Gives whether damage grew.
bool label(HistoryStore& store, const KeptDrive& drive, const KeptReading& kept)
{
    const Reading reading = kept.saved.view(drive.identity);
    if (!isSane(reading)) {
        store.mark(drive, kept.time, 0, firstOfItsClock | damageGrewHere);
        return false;
    }
    const auto step = stepTo(store, drive, reading, kept.time);
    const bool isFirst = !step || hoursWentBack(step->comparison);
    const bool grew = !isFirst && step->comparison.damageGrew();
    const unsigned set = (isFirst ? firstOfItsClock : 0U) | (grew ? damageGrewHere : 0U);
    store.mark(drive, kept.time, set, (firstOfItsClock | damageGrewHere) & ~set);
    if (grew)
        store.mark(drive, step->before.time, damageGrowsNext);
    return grew;
}

std::string rulesOf(const Verdict& verdict)
{
    std::vector<std::string_view> rules;
    for (const health::Reason& reason : verdict.reasons)
        rules.push_back(reason.rule);
    return fmt::format("{}", fmt::join(rules, " "));
}

std::optional<Kept> keepAt(HistoryStore& store, const health::JudgedReading& judged, const std::string& machine,
                           Timestamp time, bool isPast)
{
    const DriveIdentity identity = DriveIdentity::of(judged);
    KeptReading reading{.time = time,
                        .machine = machine,
                        .verdict = {judged.verdict.level, rulesOf(judged.verdict)},
                        .saved = SavedReading::of(judged)};
    if (!identity.isUnique() || !reading.saved.image())
        return std::nullopt;
    const KeptDrive drive = store.findOrMake(identity);
    while (!store.insert(drive, reading)) {
        if (isPast)
            return std::nullopt;
        ++reading.time;
    }
    Kept kept{.time = reading.time};
    if (const auto before = store.lastBefore(drive, reading.time))
        kept.lastLevel = before->verdict.level;
    kept.grew = label(store, drive, reading);
    if (const auto next = store.firstAfter(drive, reading.time)) {
        label(store, drive, *next);
        if (!isPast)
            kept.clockBefore = store.last(drive)->time;
    }
    return kept;
}

} // namespace

Timestamp currentTime()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::optional<Timestamp> judgeBeside(HistoryStore& store, health::JudgedReading& judged, Timestamp time)
{
    const DriveIdentity identity = DriveIdentity::of(judged);
    const auto drive = store.find(identity);
    if (!drive)
        return std::nullopt;
    Reading now = judged.view();
    now.model = identity.model; // as the earlier reading has them
    now.serial = identity.serial;
    const auto earlier = earlierReading(store, {drive->id, identity}, now, time);
    std::vector<health::KnownCount> known;
    for (KeptAcknowledgement& acknowledged : store.acknowledgements(*drive))
        known.push_back(std::move(acknowledged.count));
    const Reading before = earlier ? earlier->saved.view(identity) : Reading();
    judged.verdict = health::judge(now, health::Past{.before = earlier ? &before : nullptr, .known = known});
    return earlier && judged.verdict.comparison ? std::optional(earlier->time) : std::nullopt;
}

std::optional<Kept> keep(HistoryStore& store, const health::JudgedReading& judged, const std::string& machine,
                         Timestamp time)
{
    return keepAt(store, judged, machine, time, false);
}

std::optional<Kept> keepPast(HistoryStore& store, const health::JudgedReading& judged, const std::string& machine,
                             Timestamp time)
{
    return keepAt(store, judged, machine, time, true);
}

std::vector<Growth> growths(HistoryStore& store, const KeptDrive& drive, std::size_t most)
{
    auto times = store.marked(drive, damageGrewHere, std::numeric_limits<Timestamp>::min(),
                              std::numeric_limits<Timestamp>::max());
    if (times.size() > most)
        times.erase(times.begin(), times.end() - static_cast<std::ptrdiff_t>(most));
    std::vector<Growth> growths;
    for (const Timestamp time : times) {
        const auto reading = store.at(drive, time);
        if (!reading)
            continue; // pruned meanwhile
        if (auto step = stepTo(store, drive, reading->saved.view(drive.identity), time))
            growths.push_back({step->before.time, time, reading->machine, std::move(step->comparison)});
    }
    return growths;
}

std::vector<KeptAcknowledgement> acknowledge(HistoryStore& store, const KeptDrive& drive, const std::string& rule,
                                             Timestamp time)
{
    const auto last = store.last(drive);
    if (!last)
        throw CommandError(drive.identity.serial, "no reading of it is kept");
    const Reading now = last->saved.view(drive.identity);
    const auto earlier = earlierReading(store, drive, now, last->time);
    const Verdict verdict = earlier ? health::judge(now, earlier->saved.view(drive.identity)) : health::judge(now);
    std::vector<KeptAcknowledgement> known;
    std::vector<std::string_view> others;
    for (const health::Reason& reason : verdict.reasons) {
        auto count = health::knownCount(reason);
        if (count && count->rule == rule)
            known.push_back({*std::move(count), time});
        else if (count)
            others.push_back(reason.rule);
    }
    if (known.empty())
        throw CommandError(rule, others.empty() ? "the last reading gives no reason that is a count"
                                                : fmt::format("the last reading gives no such count; it gives {}",
                                                              fmt::join(others, ", ")));
    auto change = store.transaction();
    for (const KeptAcknowledgement& each : known)
        store.acknowledge(drive, each);
    change.commit();
    return known;
}

} // namespace vantorel::host
