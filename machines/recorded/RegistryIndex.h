// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Recording.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vantorel::recorded {

/// Finds the entries of a recording, also those that arrive later, while its machine.json is read.
class RegistryIndex {
public:
    explicit RegistryIndex(std::span<const system::RegistryEntry> entries) { add(entries); }

    /// Takes a copy of what it needs to know of these entries.
    void add(std::span<const system::RegistryEntry> entries);

    /// By device name ("disk0s1"), or by id in decimal or behind "0x"; nothing when there is none.
    [[nodiscard]] system::RegistryEntry* find(const std::string& name);
    /// The nearest ancestor for which the boolean `key` is true.
    [[nodiscard]] std::optional<std::uint64_t> ancestorWith(const system::RegistryEntry& entry,
                                                            std::string_view key) const;
    /// The properties of the entry with these changes, from then on its own; null takes a key away.
    static PropertyTable merge(system::RegistryEntry& entry, PropertyTable changes);

    [[nodiscard]] static std::optional<std::uint64_t> numberFrom(std::string_view text);

private:
    std::unordered_map<std::uint64_t, system::RegistryEntry> entries_;
    std::unordered_map<std::string, std::uint64_t> names_;
};

} // namespace vantorel::recorded
