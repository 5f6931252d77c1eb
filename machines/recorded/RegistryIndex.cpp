// SPDX-License-Identifier: GPL-2.0-or-later
#include "RegistryIndex.h"

#include <charconv>
#include <system_error>
#include <variant>
#include <vector>

namespace vantorel::recorded {

using system::RegistryEntry;

void RegistryIndex::add(std::span<const RegistryEntry> entries)
{
    for (const RegistryEntry& entry : entries) {
        if (const auto name = entry.properties.get<std::string>("BSD Name"))
            names_.insert_or_assign(*name, entry.id);
        const auto isCapable = [&](RecordedDrive::Kind kind) {
            return entry.properties.get<bool>(capabilityKey(kind)) == true;
        };
        entries_.insert_or_assign(entry.id,
                                  Known{entry.parents.empty() ? 0 : entry.parents.front(),
                                        isCapable(RecordedDrive::Kind::ata), isCapable(RecordedDrive::Kind::nvme)});
    }
}

std::optional<std::uint64_t> RegistryIndex::find(const std::string& name) const
{
    const auto named = names_.find(name);
    const std::optional<std::uint64_t> id = named != names_.end() ? named->second : numberFrom(name);
    return id && entries_.contains(*id) ? id : std::nullopt;
}

std::optional<std::uint64_t> RegistryIndex::capableFrom(std::uint64_t entry, RecordedDrive::Kind kind) const
{
    auto step = entries_.find(entry);
    for (int level = 0; level <= deepestRegistry && step != entries_.end(); ++level) {
        if (kind == RecordedDrive::Kind::ata ? step->second.isAtaCapable : step->second.isNvmeCapable)
            return step->first;
        step = entries_.find(step->second.parent);
    }
    return std::nullopt;
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

std::unordered_map<std::uint64_t, std::string> disksOfDrives(const Recording& recording)
{
    RegistryIndex index(recording.entries);
    std::unordered_map<std::uint64_t, std::string> disks;
    const auto noteDisks = [&](const std::vector<RegistryEntry>& entries) {
        for (const RegistryEntry& entry : entries) {
            const auto name = entry.properties.get<std::string>("BSD Name");
            if (!name || entry.properties.get<bool>("Whole") != true || index.find(*name) != entry.id)
                continue;
            for (const auto kind : {RecordedDrive::Kind::ata, RecordedDrive::Kind::nvme}) {
                if (const auto capable = index.capableFrom(entry.id, kind))
                    disks.try_emplace(*capable, *name);
            }
        }
    };
    noteDisks(recording.entries);
    for (const RecordedStep& step : recording.script) {
        if (const auto* const arrival = std::get_if<RecordedStep::Arrival>(&step.what)) {
            index.add(arrival->entries);
            noteDisks(arrival->entries);
        }
    }
    return disks;
}

} // namespace vantorel::recorded
