// SPDX-License-Identifier: GPL-2.0-or-later
#include "LogicalStorage.h"

#include "HardwareIdentity.h"
#include "NameUuid.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace vantorel::machines {

namespace {

constexpr const char* missingMember = "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF";

/// A UUID that is written with other separators than usual: "a1b2c3d4:…" of md, or 32 digits of LUKS.
std::optional<base::Uuid> looseUuid(std::string_view text)
{
    std::string plain;
    for (const char digit : text) {
        if (digit == ':' || digit == '-')
            continue;
        if (plain.size() == 8 || plain.size() == 13 || plain.size() == 18 || plain.size() == 23)
            plain += '-';
        plain += digit;
    }
    return base::Uuid::parse(plain);
}

// Arrays

std::string setUuid(const BlockDevice& array, const DeviceIndex& devices)
{
    if (const auto told = looseUuid(valueOf(array.properties, "MD_UUID")))
        return told->text();
    for (const RaidSlot& member : array.raid->members) {
        const auto device = devices.find(member.device);
        if (device == devices.end() || valueOf(device->second->properties, "ID_FS_TYPE") != "linux_raid_member")
            continue;
        if (const auto told = looseUuid(valueOf(device->second->properties, "ID_FS_UUID")))
            return told->text();
    }
    return nameUuid("md:" + std::to_string(array.unit) + ":" + array.kernelName).text();
}

std::string memberUuid(const RaidSlot& member, const DeviceIndex& devices, const std::string& set)
{
    if (const auto device = devices.find(member.device); device != devices.end()) {
        if (const auto told = looseUuid(valueOf(device->second->properties, "ID_FS_UUID_SUB")))
            return told->text();
    }
    return nameUuid("md-member:" + set + ":" + member.device).text();
}

std::string memberStatus(const RaidSlot& member)
{
    if (member.state.find("faulty") != std::string::npos)
        return "Failed";
    if (member.state.find("in_sync") != std::string::npos)
        return "Online";
    return member.slot ? "Rebuilding" : "Standby";
}

struct Level {
    std::string_view linuxName;
    std::string_view name;
    std::string_view className;
};

constexpr std::array<Level, 3> levels{{{"raid0", "Stripe", "AppleRAIDStripeSet"},
                                       {"raid1", "Mirror", "AppleRAIDMirrorSet"},
                                       {"linear", "Concat", "AppleRAIDConcatSet"}}};

std::string setStatus(const RaidArray& array)
{
    if (array.state == "inactive" || array.state == "broken" || array.state == "clear")
        return "Offline";
    return array.degraded > 0 ? "Degraded" : "Online";
}

PropertyTable setProperties(const BlockDevice& array, const std::string& set, const DeviceIndex& devices)
{
    PropertyArray members;
    PropertyArray spares;
    for (const RaidSlot& member : array.raid->members) {
        const std::string status = memberStatus(member);
        if (status != "Failed")
            (status == "Standby" ? spares : members).emplace_back(memberUuid(member, devices, set));
    }
    constexpr std::uint64_t mostDisks = 1024; // of any array
    while (members.size() < std::min(array.raid->disks, mostDisks))
        members.emplace_back(missingMember);

    const auto* const level = std::ranges::find(levels, array.raid->level, &Level::linuxName);
    std::string name = decoded(valueOf(array.properties, "MD_DEVNAME"));
    return {{"AppleRAID-SetName", name.empty() ? array.name : std::move(name)},
            {"AppleRAID-SetUUID", set},
            {"AppleRAID-LevelName", level == levels.end() ? std::string_view(array.raid->level) : level->name},
            {"AppleRAID-SetStatus", setStatus(*array.raid)},
            {"AppleRAID-Members", std::move(members)},
            {"AppleRAID-Spares", std::move(spares)}};
}

// Mappings

constexpr std::string_view lvmPrefix = "LVM-";
constexpr std::string_view cryptPrefix = "CRYPT-";
constexpr std::size_t lvmUuidLength = 32;

bool isLvm(const Mapping& mapping)
{
    return mapping.uuid.starts_with(lvmPrefix) && mapping.uuid.size() >= lvmPrefix.size() + 2 * lvmUuidLength;
}

/// Names of volume group and logical volume, which "vg-lv" joins with every hyphen of their own doubled.
std::pair<std::string, std::string> splitLvmName(std::string_view joined)
{
    std::string group;
    std::string* part = &group;
    std::string volume;
    for (std::size_t i = 0; i < joined.size(); ++i) {
        if (joined[i] != '-') {
            *part += joined[i];
        } else if (i + 1 < joined.size() && joined[i + 1] == '-') {
            *part += '-';
            ++i;
        } else if (part == &group) {
            part = &volume;
        } else {
            *part += '-';
        }
    }
    return {group, volume};
}

struct Family {
    base::Uuid group;
    std::string groupName;
    std::string name;
};

Family familyOf(const BlockDevice& device)
{
    const Mapping& mapping = *device.mapping;
    const std::string& own = mapping.name.empty() ? device.name : mapping.name;
    if (isLvm(mapping)) {
        auto [group, volume] = splitLvmName(own);
        return {nameUuid("lvm:" + mapping.uuid.substr(lvmPrefix.size(), lvmUuidLength)), std::move(group),
                volume.empty() ? own : std::move(volume)};
    }
    // "CRYPT-LUKS2-", 32 digits of the header's UUID, "-" and the name.
    if (mapping.uuid.starts_with(cryptPrefix)) {
        const std::size_t kindEnd = mapping.uuid.find('-', cryptPrefix.size());
        if (kindEnd != std::string::npos) {
            if (const auto header = looseUuid(mapping.uuid.substr(kindEnd + 1, 32)))
                return {*header, own, own};
        }
    }
    return {nameUuid("mapping:" + (mapping.uuid.empty() ? own : mapping.uuid)), own, own};
}

} // namespace

Mappings::Mappings(const SystemScan& scan, const DeviceIndex& devices) : devices_(devices)
{
    for (const BlockDevice& device : scan.devices) {
        if (!device.mapping)
            continue;
        for (const std::string& below : device.lower) {
            if (const auto found = devices_.find(below); found != devices_.end() && found->second->mapping)
                layers_.insert(found->first);
        }
    }
}

template <typename Visit>
void Mappings::walkDown(const BlockDevice& mapping, Visit visit) const
{
    std::unordered_set<const BlockDevice*> seen{&mapping};
    std::vector<const BlockDevice*> pending{&mapping};
    while (!pending.empty()) {
        const BlockDevice& device = *pending.back();
        pending.pop_back();
        visit(device);
        if (!device.mapping)
            continue;
        for (auto below = device.lower.rbegin(); below != device.lower.rend(); ++below) {
            const auto found = devices_.find(*below);
            if (found != devices_.end() && seen.insert(found->second).second)
                pending.push_back(found->second);
        }
    }
}

std::vector<const BlockDevice*> Mappings::bases(const BlockDevice& mapping) const
{
    std::vector<const BlockDevice*> found;
    walkDown(mapping, [&found](const BlockDevice& device) {
        if (!device.mapping)
            found.push_back(&device);
    });
    return found;
}

bool Mappings::isEncrypted(const BlockDevice& mapping) const
{
    bool isEncrypted = false;
    walkDown(mapping, [&isEncrypted](const BlockDevice& device) {
        isEncrypted = isEncrypted || (device.mapping && device.mapping->uuid.starts_with(cryptPrefix));
    });
    return isEncrypted;
}

std::string addRaidSet(const BlockDevice& array, const MediaUse& use, const DeviceIndex& devices,
                       const MediaKeys& media, EntryList& entries)
{
    const std::string set = setUuid(array, devices);
    std::vector<std::string> parents;
    for (const RaidSlot& member : array.raid->members) {
        const auto medium = media.find(member.device);
        if (medium == media.end())
            continue;
        parents.push_back(entries.add({.parents = {medium->second},
                                       .name = "AppleRAIDMember",
                                       .location = array.kernelName,
                                       .className = "AppleRAIDMember",
                                       .properties = {{"IOClass", "AppleRAIDMember"},
                                                      {"AppleRAID-MemberUUID", memberUuid(member, devices, set)},
                                                      {"AppleRAID-SetUUID", set},
                                                      {"AppleRAID-MemberStatus", memberStatus(member)}}}));
    }
    if (parents.empty())
        return {};
    PropertyTable properties = setProperties(array, set, devices);
    const std::string name = *properties.get<std::string>("AppleRAID-SetName");
    const auto* const level = std::ranges::find(levels, array.raid->level, &Level::linuxName);
    const std::string key =
        entries.addAs("unit:" + std::to_string(array.unit) + "/set",
                      {.parents = std::move(parents),
                       .name = "AppleRAIDSet",
                       .className = std::string(level == levels.end() ? "AppleRAIDSet" : level->className),
                       .properties = std::move(properties)});
    return addWhole(
        array, use,
        {.parents = {key}, .name = name, .className = "IOMedia", .properties = {{"RAID", true}, {"UUID", set}}},
        entries);
}

std::string addLogicalVolume(const BlockDevice& mapping, const MediaUse& use, const Mappings& mappings,
                             const MediaKeys& media, EntryList& entries)
{
    const Family family = familyOf(mapping);
    std::vector<std::string> physical;
    std::string groupKey = "group:" + family.group.text();
    for (const BlockDevice* const base : mappings.bases(mapping)) {
        const auto medium = media.find(base->kernelName);
        if (medium == media.end())
            continue;
        physical.push_back(entries.add(
            {.parents = {medium->second}, .name = "CoreStoragePhysical", .className = "CoreStoragePhysical"}));
        groupKey += "|" + medium->second;
    }
    if (physical.empty())
        return {};
    // One for each choice of physical volumes: a logical volume is told on those that it lies on only.
    groupKey = entries.addAs(std::move(groupKey), {.parents = std::move(physical),
                                                   .name = family.groupName,
                                                   .className = "CoreStorageGroup",
                                                   .properties = {{"UUID", family.group.text()}}});
    const std::string& own = mapping.mapping->uuid.empty() ? mapping.mapping->name : mapping.mapping->uuid;
    return addWhole(mapping, use,
                    {.parents = {groupKey},
                     .name = family.name,
                     .className = "CoreStorageLogical",
                     .properties = {{"CoreStorage", true},
                                    {"CoreStorage Encrypted", mappings.isEncrypted(mapping)},
                                    {"CoreStorage CPDK", false},
                                    {"CoreStorage LVG UUID", family.group},
                                    {"UUID", nameUuid("logical:" + own).text()}}},
                    entries);
}

} // namespace vantorel::machines
