// SPDX-License-Identifier: GPL-2.0-or-later
#include "Comparison.h"

#include "Observation.h"

#include <algorithm>

namespace vantorel::health {

namespace {

/// What is worth telling when it changes, though it is no damage.
bool tellsUse(Meaning meaning)
{
    using enum Meaning;
    switch (meaning) {
    case spareLeft:
    case spareLeftBlocks:
    case unsafeShutdowns:
    case errorLogEntries:
    case criticalWarning:
    case temperatureTime:
    case thermalThrottle:
        return true;
    default:
        return false;
    }
}

std::optional<std::int64_t> hoursOf(const std::vector<Attribute>& attributes)
{
    const auto found = std::ranges::find(attributes, Meaning::powerOnTime, &Attribute::meaning);
    return found == attributes.end() ? std::nullopt : wholeHours(found->value);
}

} // namespace

bool tellsDamage(Meaning meaning)
{
    using enum Meaning;
    switch (meaning) {
    case reallocatedSectors:
    case reallocationEvents:
    case pendingSectors:
    case uncorrectable:
    case reportedUncorrect:
    case mediaErrors:
    case endToEndErrors:
    case commandTimeouts:
    case interfaceErrors:
    case linkDownshifts:
    case spinRetries:
    case calibrationRetries:
    case programFailures:
    case eraseFailures:
    case badBlocksGrown:
    case spareUsedBlocks:
    case reserveUsed:
    case writeProtection:
        return true;
    default:
        return false;
    }
}

std::optional<std::int64_t> hoursBetween(const std::vector<Attribute>& before, const std::vector<Attribute>& now)
{
    const auto first = hoursOf(before);
    const auto second = hoursOf(now);
    return first && second ? std::optional(*second - *first) : std::nullopt;
}

Comparison compare(const std::vector<Attribute>& before, const std::vector<Attribute>& now)
{
    Comparison comparison{.hours = hoursBetween(before, now)};
    const auto add = [&](const Attribute& attribute, const TypedValue& earlier, const TypedValue& later) {
        if (!earlier.plausible || !later.plausible || earlier.number == later.number)
            return;
        const Int128 by = later.number - earlier.number;
        comparison.changes.push_back({.attribute = attribute.id,
                                      .name = std::string(attribute.name),
                                      .meaning = attribute.meaning,
                                      .before = earlier,
                                      .now = later,
                                      .by = by,
                                      .damage = by > 0 && tellsDamage(attribute.meaning)});
    };
    for (const Attribute& attribute : now) {
        const Attribute* const earlier = sameAttribute(attribute, before);
        if (!earlier)
            continue;
        const auto wear = wearOf(attribute);
        const auto wearBefore = wearOf(*earlier);
        if (wear && wearBefore)
            add(attribute, *wearBefore, *wear);
        else if (tellsDamage(attribute.meaning) || tellsUse(attribute.meaning))
            add(attribute, earlier->value, attribute.value);
    }
    return comparison;
}

bool Comparison::damageGrew() const
{
    return std::ranges::any_of(changes, &Change::damage);
}

} // namespace vantorel::health
