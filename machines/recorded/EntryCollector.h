// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/machines/recorded/Recording.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vantorel::recorded {

/// Gathers the entries of a listing. A listing shows an entry under each of its parents; here it becomes one entry that
/// has them all.
class EntryCollector {
public:
    /// The ids that entries without one get are far above those that a kernel counts up to from 2^32.
    explicit EntryCollector(std::uint64_t firstFreeId = std::uint64_t{1} << 62U) : nextId_(firstFreeId) {}

    /// Takes in an entry as it stands under `parent` (0: at the top) and gives its id. An entry without an id gets one
    /// that is not used otherwise.
    std::uint64_t add(system::RegistryEntry entry, std::uint64_t parent)
    {
        if (entry.id == 0)
            entry.id = nextId_++;
        const auto [known, isNew] = places_.try_emplace(entry.id, entries_.size());
        const std::uint64_t id = entry.id;
        if (isNew)
            entries_.push_back(std::move(entry));
        std::vector<std::uint64_t>& parents = entries_[known->second].parents;
        const bool isKnown = std::ranges::find(parents, parent) != parents.end();
        if (parent != 0 && !isKnown && parents.size() < mostParents)
            parents.push_back(parent);
        return id;
    }

    /// The entry with this id, which was added before; for its properties while the listing is read on.
    [[nodiscard]] system::RegistryEntry& at(std::uint64_t id) { return entries_[places_.at(id)]; }
    [[nodiscard]] std::size_t size() const { return entries_.size(); }
    [[nodiscard]] std::vector<system::RegistryEntry> take() { return std::move(entries_); }

private:
    static constexpr std::size_t mostParents = 64; // more than any RAID set has members

    std::uint64_t nextId_;
    std::vector<system::RegistryEntry> entries_;
    std::unordered_map<std::uint64_t, std::size_t> places_;
};

} // namespace vantorel::recorded
