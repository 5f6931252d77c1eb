// SPDX-License-Identifier: GPL-2.0-or-later
#include "XmlArchive.h"

#include "system/propertylist/PropertyList.h"

#include <optional>
#include <utility>

namespace vantorel::system {

namespace {

constexpr std::size_t deepest = 64; // an archive is flat: it needs five

/// The reference that a table stands for, when it is one.
std::optional<ObjectTable::Uid> uidIn(const PropertyTable& table)
{
    const auto value = table.size() == 1 ? table.get<std::uint64_t>("CF$UID") : std::nullopt;
    return value ? std::optional(ObjectTable::Uid{*value}) : std::nullopt;
}

/// Puts a value and all it holds into the table; gives its index.
ObjectTable::Index flatten(PropertyValue& value, ObjectTable& table)
{
    if (PropertyArray* const array = value.array()) {
        ObjectTable::Array elements;
        for (PropertyValue& element : *array)
            elements.push_back(flatten(element, table));
        return table.add(std::move(elements));
    }
    if (PropertyTable* const members = value.table()) {
        if (const auto uid = uidIn(*members))
            return table.add(*uid);
        ObjectTable::Dictionary dictionary;
        for (auto& [key, member] : *members) {
            dictionary.keys.push_back(table.add(PropertyValue(key)));
            dictionary.values.push_back(flatten(member, table));
        }
        return table.add(std::move(dictionary));
    }
    return table.add(std::move(value));
}

} // namespace

ObjectTable readXmlArchive(DataView bytes)
{
    PropertyListLimits limits;
    limits.depth = deepest;
    PropertyValue root = readPropertyList(bytes, limits);
    ObjectTable table;
    table.top = flatten(root, table);
    return table;
}

} // namespace vantorel::system
