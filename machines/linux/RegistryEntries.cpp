// SPDX-License-Identifier: GPL-2.0-or-later
#include "RegistryEntries.h"

#include "DeviceEntries.h"
#include "LogicalStorage.h"
#include "MediaEntries.h"

#include <utility>

namespace vantorel::machines {

namespace {

using Uses = std::unordered_map<std::string_view, MediaUse>;

Uses usesOf(const SystemScan& scan, const Mappings& mappings)
{
    Uses uses;
    for (const BlockDevice& device : scan.devices) {
        if (device.partition) {
            MediaUse& whole = uses[device.partition->whole];
            whole.isPartitioned = true;
            whole.isLeaf = false;
        }
        if (device.raid) {
            for (const std::string& below : device.lower)
                uses[below].isLeaf = false;
        }
        if (device.mapping && !mappings.isLayer(device)) {
            for (const BlockDevice* const base : mappings.bases(device)) {
                uses[base->kernelName].isPhysical = true;
                uses[base->kernelName].isLeaf = false;
            }
        }
    }
    return uses;
}

} // namespace

std::vector<KeyedEntry> registryEntries(const SystemScan& scan, const CommandsOf& commandsOf)
{
    EntryList entries;
    const std::string platform = addPlatform(scan.platform, entries);
    DeviceIndex devices;
    for (const BlockDevice& device : scan.devices)
        devices.emplace(device.kernelName, &device);
    const Mappings mappings(scan, devices);
    Uses uses = usesOf(scan, mappings);
    MediaKeys media;
    for (const BlockDevice& device : scan.devices) {
        const MediaUse& use = uses[device.kernelName];
        std::string key;
        if (device.partition) {
            const auto whole = media.find(device.partition->whole);
            if (whole != media.end())
                key = addPartition(device, *devices.at(device.partition->whole), use, whole->second, entries);
        } else if (device.raid) {
            key = addRaidSet(device, use, devices, media, entries);
        } else if (device.mapping) {
            if (!mappings.isLayer(device))
                key = addLogicalVolume(device, use, mappings, media, entries);
        } else {
            const Commands commands = device.hardware && commandsOf ? commandsOf(device) : Commands::none;
            key = addWhole(device, use,
                           {.parents = {addDevice(device, commands, platform, entries)}, .name = mediumName(device)},
                           entries);
        }
        if (!key.empty())
            media.emplace(device.kernelName, std::move(key));
    }
    return entries.take();
}

} // namespace vantorel::machines
