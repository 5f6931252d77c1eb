// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::machines {

/// An entry of the registry before it has an id. Two looks at the system mean the same entry by the same key.
struct KeyedEntry {
    std::string key;
    std::vector<std::string> parents; ///< keys
    std::string name;
    std::string location;
    std::string className;
    PropertyTable properties;
    std::string disk;    ///< kernel name of the block device that answers for the entry; empty for none
    bool counts = false; ///< and whether it answers with its counters, not by commands
};

/// Entries in the order of telling, parents before children.
class EntryList {
public:
    /// Appends the entry under its first parent: the key becomes the parent's and `name@location`. An entry that is
    /// there already stays as it is. Gives the key.
    std::string add(KeyedEntry entry)
    {
        std::string key = entry.parents.empty() ? std::string() : entry.parents.front() + "/";
        key += entry.name + "@" + entry.location;
        return addAs(std::move(key), std::move(entry));
    }

    /// Appends the entry under a key of its own.
    std::string addAs(std::string key, KeyedEntry entry)
    {
        if (keys_.insert(key).second) {
            entry.key = key;
            entries_.push_back(std::move(entry));
        }
        return key;
    }

    [[nodiscard]] bool contains(const std::string& key) const { return keys_.contains(key); }
    [[nodiscard]] std::vector<KeyedEntry> take() { return std::move(entries_); }

private:
    std::set<std::string> keys_;
    std::vector<KeyedEntry> entries_;
};

} // namespace vantorel::machines
