// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "EntryList.h"
#include "vantorel/system/Machine.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vantorel::machines {

using VolumesByName = std::map<std::string, system::VolumeFacts>; ///< by device name
using AnsweredEntries = std::unordered_map<std::uint64_t, const KeyedEntry*>;

/// What has been told, and under which ids. It tells only what has changed since.
class EntryLedger {
public:
    /// Tells what leads from the last look to this one: what is gone, children first; volumes that are other than
    /// before; what is new or has changed, parents first. Before anything new is told, `prepare` is given the entries
    /// that a device answers for, by id: whoever hears of them may ask at once.
    void tell(std::vector<KeyedEntry> entries, const VolumesByName& volumes, system::MachineEvents& events,
              const std::function<void(const AnsweredEntries&)>& prepare = nullptr);
    /// Tells the volumes that are other than before.
    void tellVolumes(const VolumesByName& volumes, system::MachineEvents& events);

private:
    struct Told {
        std::uint64_t id = 0;
        bool isTold = false; ///< else it has its id only
        KeyedEntry entry;
    };

    [[nodiscard]] std::unordered_set<std::string> survivors(const std::vector<KeyedEntry>& entries) const;
    void removeAllBut(const std::unordered_set<std::string>& surviving, system::MachineEvents& events);
    void tellEntry(KeyedEntry entry, system::MachineEvents& events);

    std::unordered_map<std::string, Told> told_; ///< by key
    std::vector<std::string> order_;             ///< keys, parents before children
    VolumesByName volumes_;
    std::uint64_t nextId_ = 0x1'0000'0001; ///< beyond 32 bits, as the platform's are
};

} // namespace vantorel::machines
