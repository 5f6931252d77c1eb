// SPDX-License-Identifier: GPL-2.0-or-later
#include "Series.h"

#include "vantorel/base/Text.h"
#include "vantorel/health/Attributes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <utility>

namespace vantorel::host {

namespace {

using health::Attribute;

bool isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

/// "Reallocated Sector Ct" of `Reallocated_Sector_Ct`, "Power on hours" of `PowerOnHours`.
std::string spaced(std::string_view rawName)
{
    std::string text;
    for (const char c : rawName) {
        const bool beginsWord = isUpper(c) && !text.empty() && text.back() != ' ' && !isUpper(text.back());
        if (beginsWord)
            text += ' ';
        text += c == '_' ? ' ' : beginsWord ? base::lowercased(c) : c;
    }
    return text;
}

/// The name that the result gives an ATA attribute, which is for a reader; else one made of the raw name.
std::string nameOf(const Attribute& attribute, const SmartObject& result)
{
    if (const auto* const ata = result.as<ATASmartObject>()) {
        const auto value = std::ranges::find(ata->smartValues, attribute.id, &ATASmartValue::id);
        if (value != ata->smartValues.end() && !value->name.empty())
            return value->name;
    }
    return spaced(attribute.name);
}

} // namespace

std::vector<Series> changedNumbers(std::span<const TimedReading> readings)
{
    using Key = std::pair<std::uint8_t, std::string>;
    std::vector<Series> all;
    std::map<Key, std::size_t> places;
    for (const TimedReading& timed : readings) {
        std::set<Key> seen; // a sector may hold a number twice, and the first counts
        for (const Attribute& attribute : health::attributesOf(timed.reading->view())) {
            const health::TypedValue& value = attribute.value;
            if (value.unit == health::Unit::flags)
                continue;
            const Key key(attribute.id, attribute.id != 0 ? "" : attribute.name);
            if (!seen.insert(key).second)
                continue;
            const auto [place, isNew] = places.try_emplace(key, all.size());
            if (isNew)
                all.push_back({attribute.id, nameOf(attribute, timed.reading->reading.result), value.unit, {}});
            all[place->second].points.push_back({timed.time,
                                                 static_cast<double>(value.number) / std::pow(10, value.decimals),
                                                 health::decimalText(value)});
        }
    }
    std::erase_if(all, [](const Series& series) {
        return std::ranges::all_of(series.points,
                                   [&](const auto& point) { return point.text == series.points.front().text; });
    });
    return all;
}

std::optional<Time> parsedTime(std::string_view text)
{
    using namespace std::chrono;
    int year = 0;
    unsigned month = 0, day = 0, hour = 0, minute = 0, second = 0;
    int length = 0;
    if (std::sscanf(std::string(text).c_str(), "%4d-%2u-%2uT%2u:%2u:%2uZ%n", &year, &month, &day, &hour, &minute,
                    &second, &length) != 6 ||
        static_cast<std::size_t>(length) != text.size())
        return std::nullopt;
    const year_month_day date{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
    if (!date.ok() || hour > 23 || minute > 59 || second > 60)
        return std::nullopt;
    return sys_days(date) + hours(hour) + minutes(minute) + seconds(second);
}

} // namespace vantorel::host
