// SPDX-License-Identifier: GPL-2.0-or-later
#include "RegistryListing.h"

#include "TextListing.h"
#include "system/propertylist/PropertyList.h"
#include "vantorel/base/Text.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace vantorel::recorded {

namespace {

using system::RegistryEntry;

constexpr std::string_view childrenKey = "IORegistryEntryChildren";

/// Takes a text or a number out of the table; absent when it is missing or of another type.
template <typename T>
std::optional<T> take(PropertyTable& table, std::string_view key)
{
    const auto found = table.find(key);
    if (found == table.end())
        return std::nullopt;
    std::optional<T> value = found->second.get<T>();
    if (value)
        table.erase(found);
    return value;
}

/// Takes an array out of the table, with no copy of what may be the rest of the tree; empty when there is none.
PropertyArray takeArray(PropertyTable& table, std::string_view key)
{
    const auto found = table.find(key);
    PropertyArray* const array = found == table.end() ? nullptr : found->second.array();
    if (!array)
        return {};
    PropertyArray taken = std::move(*array);
    table.erase(found);
    return taken;
}

/// The entry without its children; what `ioreg` adds to the properties is taken out of them.
RegistryEntry entryFrom(PropertyTable table)
{
    RegistryEntry entry;
    entry.name = take<std::string>(table, "IORegistryEntryName").value_or("");
    entry.location = take<std::string>(table, "IORegistryEntryLocation").value_or("");
    entry.id = take<std::uint64_t>(table, "IORegistryEntryID").value_or(0);
    entry.className = take<std::string>(table, "IOObjectClass").value_or("");
    for (const PropertyValue& name : takeArray(table, "IOObjectInheritance")) {
        if (name.text())
            entry.inheritance.push_back(*name.text());
    }
    for (const std::string_view key :
         {"IOObjectRetainCount", "IOServiceState", "IOServiceBusyState", "IOServiceBusyTime"}) {
        if (const auto found = table.find(key); found != table.end())
            table.erase(found);
    }
    entry.properties = std::move(table);
    return entry;
}

/// Where entries stand in the tree, so that the path of one is made only when there is a fault to tell of it.
class Places {
public:
    explicit Places(std::string root) { places_.push_back({0, std::move(root)}); }

    /// The place below another.
    std::size_t add(std::size_t above, std::string name)
    {
        places_.push_back({above, std::move(name)});
        return places_.size() - 1;
    }

    /// The names from the root down, or of a long path its end.
    [[nodiscard]] std::string path(std::size_t place) const
    {
        constexpr std::size_t longest = 200;
        std::string path = cut(places_[place].name);
        while (place != 0 && path.size() < longest) {
            place = places_[place].above;
            path = cut(places_[place].name) + '/' + path;
        }
        return place == 0 ? path : ".../" + path;
    }

private:
    struct Place {
        std::size_t above;
        std::string name;
    };

    static std::string cut(const std::string& name) { return base::toUtf8(std::string_view(name).substr(0, 100)); }

    std::vector<Place> places_; // the root first
};

std::vector<RegistryEntry> readPropertyListListing(DataView bytes, const std::string& file, std::vector<Fault>& faults)
{
    PropertyValue list;
    try {
        list = system::readPropertyList(bytes);
    } catch (const system::PropertyListError& error) {
        throw RecordingError(file + ": " + error.what());
    }
    EntryCollector collector;
    if (PropertyTable* const root = list.table()) {
        collectEntries(std::move(*root), 0, file, "root", collector, faults);
    } else if (PropertyArray* const roots = list.array()) {
        for (std::size_t i = 0; i < roots->size(); ++i) {
            const std::string place = "root[" + std::to_string(i) + "]";
            if (PropertyTable* const table = (*roots)[i].table())
                collectEntries(std::move(*table), 0, file, place, collector, faults);
            else
                note(faults, {file, place, "no registry entry"});
        }
    }
    return collector.take();
}

/// Whether more arrays and tables than `most` lie inside one another.
bool nestsBeyond(const PropertyValue& value, int most)
{
    if (const PropertyArray* const array = value.array())
        return most == 0 ||
               std::ranges::any_of(*array, [&](const auto& element) { return nestsBeyond(element, most - 1); });
    if (const PropertyTable* const table = value.table())
        return most == 0 ||
               std::ranges::any_of(*table, [&](const auto& member) { return nestsBeyond(member.second, most - 1); });
    return false;
}

} // namespace

void collectEntries(PropertyTable table, std::uint64_t parent, const std::string& file, const std::string& place,
                    EntryCollector& collector, std::vector<Fault>& faults)
{
    struct Pending {
        PropertyTable table;
        std::uint64_t parent;
        std::size_t place;
    };
    Places places(place);
    std::vector<Pending> pending;
    pending.push_back({std::move(table), parent, 0});
    while (!pending.empty()) {
        Pending next = std::move(pending.back());
        pending.pop_back();
        PropertyArray children = takeArray(next.table, childrenKey);
        std::erase_if(next.table, [&](const auto& property) {
            const bool isTooDeep = nestsBeyond(property.second, deepestProperty);
            if (isTooDeep)
                note(faults, {file, places.path(next.place), property.first + " is nested too deeply"});
            return isTooDeep;
        });
        const bool isNumbered = next.table.contains("IORegistryEntryID");
        RegistryEntry entry = entryFrom(std::move(next.table));
        if (entry.name.empty() && entry.className.empty()) {
            note(faults, {file, places.path(next.place), "an entry without name and class"});
            continue;
        }
        if (isNumbered && entry.id == 0)
            note(faults, {file, places.path(next.place), "IORegistryEntryID is no id"});
        const std::size_t here = places.add(next.place, entry.name);
        const std::uint64_t id = collector.add(std::move(entry), next.parent);
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            if (PropertyTable* const below = child->table())
                pending.push_back({std::move(*below), id, here});
            else
                note(faults, {file, places.path(here), "a child that is no registry entry"});
        }
    }
}

std::vector<RegistryEntry> readListing(DataView bytes, const std::string& file, std::vector<Fault>& faults)
{
    const std::string start(bytes.begin(), bytes.begin() + std::min<std::ptrdiff_t>(256, std::ssize(bytes)));
    const std::size_t first = start.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    const bool isPropertyList = start.starts_with("bplist") || (first != std::string::npos && start[first] == '<');
    std::vector<RegistryEntry> entries =
        isPropertyList ? readPropertyListListing(bytes, file, faults) : readTextListing(bytes, file, faults);
    if (entries.empty())
        throw RecordingError(file + ": no registry entry in it");
    return entries;
}

} // namespace vantorel::recorded
