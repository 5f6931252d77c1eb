// SPDX-License-Identifier: GPL-2.0-or-later
#include "ReportDiff.h"

#include "documents/Status.h"
#include "vantorel/base/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <tuple>
#include <utility>

namespace vantorel::host {

namespace {

using health::Attribute;
using health::Level;
using health::Meaning;
using health::Reason;
using health::Verdict;

/// One value of one drive, in the form in which two can be compared.
struct Value {
    Attribute attribute;
    std::string text;          ///< for a reader
    Level level = Level::good; ///< of the reason that names it
};

Level levelOfReason(const Verdict& verdict, const Attribute& attribute)
{
    const auto reason = std::ranges::find_if(verdict.reasons, [&](const Reason& each) {
        return attribute.id != 0 ? each.attribute == attribute.id : each.name == attribute.name;
    });
    return reason == verdict.reasons.end() ? Level::good : reason->level;
}

std::string textOf(const health::TypedValue& value)
{
    using health::Unit;
    switch (value.unit) {
    case Unit::none:
    case Unit::count:
        return decimalText(value);
    case Unit::percent:
        return decimalText(value) + " %";
    case Unit::celsius:
        return decimalText(value) + " °C";
    case Unit::flags:
        return fmt::format("0x{:02x}", static_cast<std::uint64_t>(value.number));
    default:
        break;
    }
    std::string_view unit = vantorel::rawValue(value.unit);
    if (value.number == 1 && unit.ends_with('s'))
        unit.remove_suffix(1);
    return fmt::format("{} {}", decimalText(value), unit);
}

/// The values of a reading by the key that they are known by in both reports. Each counts once: a sector may hold a
/// number twice, and the first is then meant.
std::map<std::string, Value> valuesOf(const health::JudgedReading& judged, const Verdict& verdict)
{
    std::map<std::string, Value> values;
    for (Attribute& attribute : health::attributesOf(judged.view())) {
        const std::string key = attribute.id != 0 ? fmt::format("{:03}", attribute.id) : attribute.name;
        std::string text = textOf(attribute.value);
        const Level level = levelOfReason(verdict, attribute);
        values.try_emplace(key, Value{std::move(attribute), std::move(text), level});
    }
    return values;
}

/// How bad a level is, for a comparison of two.
int rankOf(Level level)
{
    return level == Level::unknown ? 0 : static_cast<int>(level);
}

/// What a value did; absent when it is as it was.
std::optional<ValueChange> compareValues(const Value& before, const Value& after, bool isDamage)
{
    using enum ValueChange::Kind;
    const Attribute& now = after.attribute;
    ValueChange change{changed, now.id != 0 ? std::to_string(now.id) : "", now.name, before.text, after.text, 0};
    // Of bits it counts which are set, not what number they make.
    const bool isBits = now.value.unit == health::Unit::flags;
    const auto moved =
        isBits ? now.value.number & ~before.attribute.value.number : now.value.number - before.attribute.value.number;
    const bool isSame = now.value.number == before.attribute.value.number;
    const bool isSameScale = now.current == before.attribute.current && now.worst == before.attribute.worst;
    if (!isSameScale) {
        change.before += fmt::format(" ({}, worst {})", before.attribute.current, before.attribute.worst);
        change.after += fmt::format(" ({}, worst {})", now.current, now.worst);
    }
    if (rankOf(after.level) != rankOf(before.level)) {
        change.kind = rankOf(after.level) > rankOf(before.level) ? crossed : recovered;
        change.before += fmt::format(" ({})", words(before.level));
        change.after += fmt::format(" ({})", words(after.level));
        change.status = change.kind == crossed ? statusOf(after.level) : 0;
    } else if (!isSame) {
        change.kind = moved > 0 ? grew : shrank;
    } else if (isSameScale) {
        return std::nullopt;
    }
    change.status |= isDamage ? damageGrew : 0;
    return change;
}

std::vector<ValueChange> compareReadings(const health::JudgedReading& before, const health::JudgedReading& after,
                                         const Verdict& verdict)
{
    using enum ValueChange::Kind;
    const auto earlier = valuesOf(before, before.verdict);
    const auto later = valuesOf(after, verdict);
    const auto isDamage = [&](const Attribute& attribute) {
        return verdict.comparison &&
               std::ranges::any_of(verdict.comparison->changes, [&](const health::Change& change) {
                   return change.damage && change.attribute == attribute.id && change.name == attribute.name;
               });
    };
    const auto idOf = [](const Value& value) {
        return value.attribute.id != 0 ? std::to_string(value.attribute.id) : std::string();
    };
    std::vector<ValueChange> changes;
    for (const auto& [key, value] : later) {
        const auto last = earlier.find(key);
        if (last == earlier.end())
            changes.push_back({appeared, idOf(value), value.attribute.name, "", value.text, statusOf(value.level)});
        else if (auto change = compareValues(last->second, value, isDamage(value.attribute)))
            changes.push_back(*std::move(change));
    }
    for (const auto& [key, value] : earlier) {
        if (!later.contains(key))
            changes.push_back({vanished, idOf(value), value.attribute.name, value.text, "", 0});
    }
    return changes;
}

DriveChange describe(const ReportedDrive& drive, DriveChange::Kind kind)
{
    DriveChange change;
    change.kind = kind;
    change.name = drive.name;
    change.model = drive.stored.model.value_or("");
    change.serial = base::trimmed(drive.identity.serial);
    return change;
}

DriveChange appearedDrive(const ReportedDrive& drive)
{
    DriveChange change = describe(drive, DriveChange::Kind::appeared);
    if (drive.judged) {
        change.verdict = drive.judged->verdict;
        change.status = statusOf(drive.judged->verdict.level);
    }
    return change;
}

DriveChange compareDrives(const ReportedDrive& before, const ReportedDrive& after)
{
    DriveChange change = describe(after, DriveChange::Kind::stayed);
    if (before.judged)
        change.levelBefore = before.judged->verdict.level;
    if (before.judged && after.judged && before.judged->isNvme() == after.judged->isNvme()) {
        change.verdict = health::judge(after.judged->view(), before.judged->view());
        change.values = compareReadings(*before.judged, *after.judged, *change.verdict);
        if (change.verdict->comparison && change.verdict->comparison->damageGrew())
            change.status |= damageGrew;
    } else if (after.judged) {
        change.verdict = after.judged->verdict;
        change.values = {{ValueChange::Kind::appeared, "", "S.M.A.R.T. data", "", "readable", 0}};
    } else if (before.judged) {
        change.values = {{ValueChange::Kind::vanished, "", "S.M.A.R.T. data", "readable", "", readFailed}};
        change.status |= readFailed;
    }
    if (change.isWorse())
        change.status |= statusOf(change.verdict->level);
    return change;
}

/// Finds out which drives of two reports are the same, from the surest way of telling to the least sure one.
class Join {
public:
    Join(const std::vector<ReportedDrive>& before, const std::vector<ReportedDrive>& after)
        : before_(before), after_(after), earlierOf_(after.size(), before.size()), isTaken_(before.size())
    {
        const auto any = [](const ReportedDrive&) { return true; };
        const auto numbered = [](const ReportedDrive& drive) { return !serialOf(drive).empty(); };
        const auto unnumbered = [](const ReportedDrive& drive) { return serialOf(drive).empty(); };
        const auto whole = [](const ReportedDrive& drive) { return Key(serialOf(drive), modelOf(drive), drive.name); };
        const auto nameless = [](const ReportedDrive& drive) { return Key(serialOf(drive), modelOf(drive), ""); };
        const auto serialless = [](const ReportedDrive& drive) { return Key("", modelOf(drive), drive.name); };
        match(whole, numbered, numbered);
        match(nameless, numbered, numbered);
        match(serialless, unnumbered, any);
        match(serialless, any, unnumbered);
    }

    /// The same drive in the earlier report; null when it has none.
    [[nodiscard]] const ReportedDrive* earlierOf(std::size_t later) const
    {
        return earlierOf_[later] == before_.size() ? nullptr : &before_[earlierOf_[later]];
    }
    [[nodiscard]] bool isTaken(std::size_t earlier) const { return isTaken_[earlier]; }

private:
    using Key = std::tuple<std::string_view, std::string_view, std::string_view>;
    using Admits = std::function<bool(const ReportedDrive&)>;

    static std::string_view serialOf(const ReportedDrive& drive) { return base::trimmed(drive.identity.serial); }
    static std::string_view modelOf(const ReportedDrive& drive)
    {
        return drive.stored.model ? std::string_view(*drive.stored.model) : std::string_view();
    }

    /// Joins those that are left and have one key, in their order.
    void match(const std::function<Key(const ReportedDrive&)>& keyOf, const Admits& admitsEarlier,
               const Admits& admitsLater)
    {
        std::map<Key, std::vector<std::size_t>> waiting; // the first stands last
        for (std::size_t i = before_.size(); i-- > 0;) {
            if (!isTaken_[i] && admitsEarlier(before_[i]))
                waiting[keyOf(before_[i])].push_back(i);
        }
        for (std::size_t i = 0; i < after_.size(); ++i) {
            if (earlierOf_[i] != before_.size() || !admitsLater(after_[i]))
                continue;
            const auto found = waiting.find(keyOf(after_[i]));
            if (found == waiting.end() || found->second.empty())
                continue;
            earlierOf_[i] = found->second.back();
            isTaken_[earlierOf_[i]] = true;
            found->second.pop_back();
        }
    }

    const std::vector<ReportedDrive>& before_;
    const std::vector<ReportedDrive>& after_;
    std::vector<std::size_t> earlierOf_;
    std::vector<bool> isTaken_;
};

} // namespace

std::string_view rawValue(ValueChange::Kind kind)
{
    constexpr std::string_view names[] = {"appeared", "vanished", "grew", "shrank", "changed", "crossed", "recovered"};
    return names[static_cast<std::size_t>(kind)];
}

std::string_view rawValue(DriveChange::Kind kind)
{
    constexpr std::string_view names[] = {"appeared", "vanished", "stayed"};
    return names[static_cast<std::size_t>(kind)];
}

bool DriveChange::isWorse() const
{
    if (!verdict)
        return false;
    const Level before = levelBefore.value_or(Level::good);
    if (verdict->level == Level::unknown || before == Level::unknown)
        return verdict->level != before;
    return verdict->level > before;
}

std::vector<const ReportedDrive*> sameDrives(const ReportFile& before, const ReportFile& after)
{
    const Join join(before.drives, after.drives);
    std::vector<const ReportedDrive*> same;
    for (std::size_t i = 0; i < after.drives.size(); ++i)
        same.push_back(join.earlierOf(i));
    return same;
}

std::vector<DriveChange> compareReports(const ReportFile& before, const ReportFile& after)
{
    std::vector<DriveChange> changes;
    const Join join(before.drives, after.drives);
    for (std::size_t i = 0; i < after.drives.size(); ++i) {
        const ReportedDrive* const same = join.earlierOf(i);
        changes.push_back(same ? compareDrives(*same, after.drives[i]) : appearedDrive(after.drives[i]));
    }
    for (std::size_t i = 0; i < before.drives.size(); ++i) {
        if (join.isTaken(i))
            continue;
        changes.push_back(describe(before.drives[i], DriveChange::Kind::vanished));
        changes.back().status = driveNotOpened;
    }
    return changes;
}

} // namespace vantorel::host
