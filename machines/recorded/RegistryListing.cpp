// SPDX-License-Identifier: GPL-2.0-or-later
#include "RegistryListing.h"

#include "vantorel/system/PropertyList.h"

#include <algorithm>
#include <string_view>

namespace vantorel::recorded {

namespace {

using system::RegistryEntry;

constexpr std::string_view childrenKey = "IORegistryEntryChildren";

/// Takes a value out of the table; absent when it is missing or of another type.
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

/// The entry without its children; what `ioreg` adds to the properties is taken out of them.
RegistryEntry entryFrom(PropertyTable table)
{
    RegistryEntry entry;
    entry.name = take<std::string>(table, "IORegistryEntryName").value_or("");
    entry.location = take<std::string>(table, "IORegistryEntryLocation").value_or("");
    entry.id = take<std::uint64_t>(table, "IORegistryEntryID").value_or(0);
    entry.className = take<std::string>(table, "IOObjectClass").value_or("");
    for (const PropertyValue& name : take<PropertyArray>(table, "IOObjectInheritance").value_or(PropertyArray())) {
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
                faults.push_back({file, place, "no registry entry"});
        }
    }
    return collector.take();
}

} // namespace

void collectEntries(PropertyTable table, std::uint64_t parent, const std::string& file, const std::string& place,
                    EntryCollector& collector, std::vector<Fault>& faults)
{
    struct Pending {
        PropertyTable table;
        std::uint64_t parent;
        std::string place;
    };
    std::vector<Pending> pending;
    pending.push_back({std::move(table), parent, place});
    while (!pending.empty()) {
        Pending next = std::move(pending.back());
        pending.pop_back();
        PropertyArray children = take<PropertyArray>(next.table, childrenKey).value_or(PropertyArray());
        const bool isNumbered = next.table.contains("IORegistryEntryID");
        RegistryEntry entry = entryFrom(std::move(next.table));
        if (entry.name.empty() && entry.className.empty()) {
            faults.push_back({file, next.place, "an entry without name and class"});
            continue;
        }
        if (isNumbered && entry.id == 0)
            faults.push_back({file, next.place, "IORegistryEntryID is no id"});
        const std::string here = next.place + "/" + entry.name;
        const std::uint64_t id = collector.add(std::move(entry), next.parent);
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            if (PropertyTable* const below = child->table())
                pending.push_back({std::move(*below), id, here});
            else
                faults.push_back({file, here, "a child that is no registry entry"});
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
