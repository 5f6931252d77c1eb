// SPDX-License-Identifier: GPL-2.0-or-later
#include "EntryLedger.h"

#include <algorithm>
#include <optional>
#include <tuple>
#include <utility>

namespace vantorel::machines {

namespace {

bool areEqual(const system::VolumeFacts& a, const system::VolumeFacts& b)
{
    return std::tie(a.kind, a.name, a.uuid, a.mountable, a.mountPoints) ==
           std::tie(b.kind, b.name, b.uuid, b.mountable, b.mountPoints);
}

bool isAmong(const std::string& key, const std::vector<std::string>& keys)
{
    return std::ranges::find(keys, key) != keys.end();
}

} // namespace

/// An entry that was told stays the same one as long as it has the same name and hangs on what it hung on: a parent can
/// be added to an entry and can go away, but an entry cannot be taken from a parent that stays.
std::unordered_set<std::string> EntryLedger::survivors(const std::vector<KeyedEntry>& entries) const
{
    std::unordered_set<std::string> surviving;
    for (const KeyedEntry& entry : entries) {
        const auto known = told_.find(entry.key);
        if (known == told_.end())
            continue;
        const KeyedEntry& before = known->second.entry;
        if (std::tie(before.name, before.location, before.className) !=
            std::tie(entry.name, entry.location, entry.className))
            continue;
        bool hangs = before.parents.empty();
        bool mustLeave = false;
        for (const std::string& parent : before.parents) {
            const bool stays = surviving.contains(parent);
            const bool isWanted = isAmong(parent, entry.parents);
            hangs = hangs || (stays && isWanted);
            mustLeave = mustLeave || (stays && !isWanted);
        }
        if (hangs && !mustLeave)
            surviving.insert(entry.key);
    }
    return surviving;
}

void EntryLedger::removeAllBut(const std::unordered_set<std::string>& surviving, system::MachineEvents& events)
{
    for (auto key = order_.rbegin(); key != order_.rend(); ++key) {
        if (surviving.contains(*key))
            continue;
        const auto gone = told_.find(*key);
        // With its disk a volume is forgotten by those who were told of it.
        if (const auto name = gone->second.entry.properties.get<std::string>("BSD Name"))
            volumes_.erase(*name);
        events.entryRemoved(gone->second.id);
        told_.erase(gone);
    }
}

void EntryLedger::tellEntry(KeyedEntry entry, system::MachineEvents& events)
{
    const auto known = told_.find(entry.key);
    const bool isNew = known == told_.end();
    bool hasNewParents = false;
    if (!isNew) {
        const KeyedEntry& before = known->second.entry;
        hasNewParents = std::ranges::any_of(
            entry.parents, [&before](const std::string& parent) { return !isAmong(parent, before.parents); });
        if (!hasNewParents) {
            if (entry.properties != before.properties)
                events.entryChanged(known->second.id, entry.properties);
            known->second.entry = std::move(entry);
            return;
        }
    }
    Told& told = isNew ? told_[entry.key] : known->second;
    if (isNew)
        told.id = nextId_++;
    system::RegistryEntry arriving{told.id, entry.name, entry.location, entry.className, {}, {}, entry.properties};
    for (const std::string& parent : entry.parents)
        arriving.parents.push_back(told_.at(parent).id);
    told.entry = std::move(entry);
    events.entryArrived(std::move(arriving));
}

void EntryLedger::tellVolumes(const VolumesByName& volumes, system::MachineEvents& events)
{
    for (const auto& [name, facts] : volumes) {
        const auto [known, isNew] = volumes_.try_emplace(name, facts);
        if (!isNew && areEqual(known->second, facts))
            continue;
        known->second = facts;
        events.volumeChanged(name, facts);
    }
}

void EntryLedger::tell(std::vector<KeyedEntry> entries, const VolumesByName& volumes, system::MachineEvents& events)
{
    removeAllBut(survivors(entries), events);
    tellVolumes(volumes, events);
    order_.clear();
    order_.reserve(entries.size());
    for (KeyedEntry& entry : entries) {
        order_.push_back(entry.key);
        tellEntry(std::move(entry), events);
    }
}

std::unordered_map<std::uint64_t, const KeyedEntry*> EntryLedger::answered() const
{
    std::unordered_map<std::uint64_t, const KeyedEntry*> answered;
    for (const auto& [key, told] : told_) {
        if (!told.entry.disk.empty())
            answered.emplace(told.id, &told.entry);
    }
    return answered;
}

} // namespace vantorel::machines
