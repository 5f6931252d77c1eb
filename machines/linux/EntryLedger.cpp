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
    Told& told = told_.at(entry.key);
    const bool hasNewParents = std::ranges::any_of(
        entry.parents, [&told](const std::string& parent) { return !isAmong(parent, told.entry.parents); });
    if (told.isTold && !hasNewParents) {
        if (entry.properties != told.entry.properties)
            events.entryChanged(told.id, entry.properties);
        told.entry = std::move(entry);
        return;
    }
    system::RegistryEntry arriving{told.id, entry.name, entry.location, entry.className, {}, {}, entry.properties};
    for (const std::string& parent : entry.parents)
        arriving.parents.push_back(told_.at(parent).id);
    told.entry = std::move(entry);
    told.isTold = true;
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

void EntryLedger::tell(std::vector<KeyedEntry> entries, const VolumesByName& volumes, system::MachineEvents& events,
                       const std::function<void(const AnsweredEntries&)>& prepare)
{
    removeAllBut(survivors(entries), events);
    AnsweredEntries answered;
    order_.clear();
    order_.reserve(entries.size());
    for (const KeyedEntry& entry : entries) {
        Told& told = told_[entry.key];
        if (told.id == 0)
            told.id = nextId_++;
        if (!entry.disk.empty())
            answered.emplace(told.id, &entry);
        order_.push_back(entry.key);
    }
    if (prepare)
        prepare(answered);
    tellVolumes(volumes, events);
    for (KeyedEntry& entry : entries)
        tellEntry(std::move(entry), events);
}

} // namespace vantorel::machines
