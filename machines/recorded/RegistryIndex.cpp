// SPDX-License-Identifier: GPL-2.0-or-later
#include "RegistryIndex.h"

#include <charconv>
#include <system_error>
#include <unordered_set>
#include <utility>
#include <vector>

namespace vantorel::recorded {

using system::RegistryEntry;

void RegistryIndex::add(std::span<const RegistryEntry> entries)
{
    for (const RegistryEntry& entry : entries) {
        if (const auto name = entry.properties.get<std::string>("BSD Name"))
            names_.insert_or_assign(*name, entry.id);
        entries_.insert_or_assign(entry.id, entry);
    }
}

RegistryEntry* RegistryIndex::find(const std::string& name)
{
    const auto named = names_.find(name);
    const std::optional<std::uint64_t> id = named != names_.end() ? named->second : numberFrom(name);
    const auto found = id ? entries_.find(*id) : entries_.end();
    return found == entries_.end() ? nullptr : &found->second;
}

std::optional<std::uint64_t> RegistryIndex::ancestorWith(const RegistryEntry& entry, std::string_view key) const
{
    std::unordered_set<std::uint64_t> seen;
    const RegistryEntry* step = &entry;
    while (!step->parents.empty() && seen.insert(step->id).second) {
        const auto parent = entries_.find(step->parents.front());
        if (parent == entries_.end())
            return std::nullopt;
        step = &parent->second;
        if (step->properties.get<bool>(key) == true)
            return step->id;
    }
    return std::nullopt;
}

PropertyTable RegistryIndex::merge(RegistryEntry& entry, PropertyTable changes)
{
    for (auto& [key, value] : changes) {
        if (value.isNull())
            entry.properties.erase(key);
        else
            entry.properties.insert_or_assign(key, std::move(value));
    }
    return entry.properties;
}

std::optional<std::uint64_t> RegistryIndex::numberFrom(std::string_view text)
{
    const bool isHexadecimal = text.starts_with("0x");
    if (isHexadecimal)
        text.remove_prefix(2);
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, isHexadecimal ? 16 : 10);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

} // namespace vantorel::recorded
