// SPDX-License-Identifier: GPL-2.0-or-later
#include "DeviceIdentity.h"

#include "vantorel/machines/recorded/Recording.h"

#include <unordered_map>
#include <utility>

namespace vantorel::recorded {

namespace {

using system::RegistryEntry;
using EntriesById = std::unordered_map<std::uint64_t, const RegistryEntry*>;

void fill(std::string& text, const PropertyTable& table, std::string_view key)
{
    if (text.empty())
        text = table.get<std::string>(key).value_or("");
}

void noteCapability(std::optional<std::uint64_t>& capable, const RegistryEntry& entry, std::string_view key)
{
    if (!capable && entry.properties.get<bool>(key) == true)
        capable = entry.id;
}

/// What the entries above the medium say, the nearest first.
DeviceIdentity identityAbove(const RegistryEntry& medium, const EntriesById& entries)
{
    DeviceIdentity identity;
    const RegistryEntry* entry = &medium;
    for (int level = 0; level < deepestRegistry && !entry->parents.empty(); ++level) {
        const auto parent = entries.find(entry->parents.front());
        if (parent == entries.end())
            break;
        entry = parent->second;
        const PropertyValue* const device = entry->properties.lookUp("Device Characteristics");
        if (const PropertyTable* const facts = device ? device->table() : nullptr) {
            fill(identity.model, *facts, "Product Name");
            fill(identity.serial, *facts, "Serial Number");
            fill(identity.firmware, *facts, "Product Revision Level");
        }
        noteCapability(identity.smartEntry, *entry, capabilityKey(RecordedDrive::Kind::ata));
        noteCapability(identity.nvmeSmartEntry, *entry, capabilityKey(RecordedDrive::Kind::nvme));
    }
    return identity;
}

} // namespace

std::map<std::string, DeviceIdentity, std::less<>> deviceIdentities(std::span<const RegistryEntry> entries)
{
    EntriesById byId;
    for (const RegistryEntry& entry : entries)
        byId.emplace(entry.id, &entry);
    std::map<std::string, DeviceIdentity, std::less<>> identities;
    for (const RegistryEntry& entry : entries) {
        const auto name = entry.properties.get<std::string>("BSD Name");
        if (name && entry.properties.get<bool>("Whole") == true)
            identities.try_emplace(*name, identityAbove(entry, byId));
    }
    return identities;
}

} // namespace vantorel::recorded
