// SPDX-License-Identifier: GPL-2.0-or-later
#include "ObjectTable.h"

#include "Budget.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

namespace vantorel::system {

namespace {

/// The text of a date, to the second: "2001-01-01T00:00:00Z".
std::string text(ObjectTable::Date date)
{
    using namespace std::chrono;
    const sys_seconds epoch = sys_days(year(2001) / January / 1);
    const sys_seconds time = epoch + seconds(static_cast<std::int64_t>(std::floor(date.seconds)));
    const year_month_day day(floor<days>(time));
    const hh_mm_ss clock(time - floor<days>(time));
    char characters[64];
    std::snprintf(characters, sizeof characters, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return characters;
}

class Expander {
public:
    Expander(const ObjectTable& table, const PropertyListLimits& limits) : table_(table), budget_(limits) {}

    PropertyValue expand(ObjectTable::Index index)
    {
        if (!budget_.takeValue())
            fail(index, "more values than a property list may hold");
        return std::visit([&](const auto& object) { return expand(index, object); }, table_.objects[index]);
    }

private:
    [[noreturn]] static void fail(ObjectTable::Index index, const std::string& fault)
    {
        throw PropertyListError("object " + std::to_string(index) + " of the property list", fault);
    }

    PropertyValue expand(ObjectTable::Index index, const PropertyValue& leaf)
    {
        const std::size_t size = leaf.text() ? leaf.text()->size() : leaf.data() ? leaf.data()->size() : 0;
        if (!budget_.takeBytes(size))
            fail(index, "more text than a property list may hold");
        return leaf;
    }

    static PropertyValue expand(ObjectTable::Index, ObjectTable::Uid uid)
    {
        return PropertyTable{{"CF$UID", uid.value}};
    }

    static PropertyValue expand(ObjectTable::Index index, ObjectTable::Date date)
    {
        constexpr double furthest = 1e11; // some three thousand years
        if (!(std::abs(date.seconds) < furthest))
            fail(index, "a date beyond the calendar");
        return text(date);
    }

    PropertyValue expand(ObjectTable::Index index, const ObjectTable::Array& array)
    {
        enter(index);
        PropertyArray elements;
        for (const ObjectTable::Index element : array)
            elements.push_back(expand(element));
        budget_.leave();
        return elements;
    }

    PropertyValue expand(ObjectTable::Index index, const ObjectTable::Dictionary& dictionary)
    {
        enter(index);
        PropertyTable members;
        for (std::size_t i = 0; i < dictionary.keys.size(); ++i) {
            const auto* const key = std::get_if<PropertyValue>(&table_.objects[dictionary.keys[i]]);
            if (!key || !key->text())
                fail(index, "a key that is no text");
            if (!budget_.takeBytes(key->text()->size()))
                fail(index, "more text than a property list may hold");
            members.insert_or_assign(*key->text(), expand(dictionary.values[i]));
        }
        budget_.leave();
        return members;
    }

    void enter(ObjectTable::Index index)
    {
        if (!budget_.enter())
            fail(index, "nested too deeply");
    }

    const ObjectTable& table_;
    Budget budget_;
};

} // namespace

ObjectTable::Index ObjectTable::add(Object object)
{
    objects.push_back(std::move(object));
    return static_cast<Index>(objects.size() - 1);
}

PropertyValue ObjectTable::expanded(const PropertyListLimits& limits) const
{
    return Expander(*this, limits).expand(top);
}

} // namespace vantorel::system
