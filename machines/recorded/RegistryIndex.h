// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/machines/recorded/Recording.h"

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

    /// Takes in what it needs to know of these entries.
    void add(std::span<const system::RegistryEntry> entries);

    /// The id of the entry with this device name ("disk0s1") or this id, in decimal or behind "0x"; nothing when there
    /// is none.
    [[nodiscard]] std::optional<std::uint64_t> find(const std::string& name) const;
    [[nodiscard]] bool contains(std::uint64_t id) const { return entries_.contains(id); }
    /// This entry or the nearest above it that declares itself capable of SMART of this kind.
    [[nodiscard]] std::optional<std::uint64_t> capableFrom(std::uint64_t entry, RecordedDrive::Kind kind) const;

    [[nodiscard]] static std::optional<std::uint64_t> numberFrom(std::string_view text);

private:
    /// What is asked of an entry later.
    struct Known {
        std::uint64_t parent = 0; ///< the first; 0 for none
        bool isAtaCapable = false;
        bool isNvmeCapable = false;
    };

    std::unordered_map<std::uint64_t, Known> entries_;
    std::unordered_map<std::string, std::uint64_t> names_;
};

/// The device name of the first whole disk above which each drive stands, by the entry that answers for the drive;
/// drives without a disk are left out.
[[nodiscard]] std::unordered_map<std::uint64_t, std::string> disksOfDrives(const Recording& recording);

} // namespace vantorel::recorded
