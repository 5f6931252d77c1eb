// SPDX-License-Identifier: GPL-2.0-or-later
#include "Volumes.h"

#include "system/files/FileManager.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/system/DiskArbitration.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vantorel::report {

namespace {

using Tables = std::vector<std::pair<std::string, PropertyTable>>; // by device name

/// The mounted volumes with all their mount points, and the file system's size at the first of them.
Tables mountedVolumes()
{
    const system::FileManager& files = system::FileManager::defaultManager();
    const auto paths = files.mountedVolumeURLsIncludingResourceValuesForKeys(nullptr, 0);
    const system::DASessionRef session = system::DASessionCreate(system::kCFAllocatorDefault);
    Tables tables;
    std::unordered_map<std::string, std::size_t> places;
    for (const std::string& path : paths.value_or(std::vector<std::string>())) {
        const system::DADiskRef disk = system::DADiskCreateFromVolumePath(system::kCFAllocatorDefault, session, path);
        const auto name = disk ? system::DADiskGetBSDName(disk) : std::nullopt;
        if (!name)
            continue; // of the network, or gone by now
        const auto [known, isNew] = places.try_emplace(*name, tables.size());
        if (isNew) {
            PropertyTable table = {{"mountPoints", PropertyArray()}, {"writable", files.isWritableFileAtPath(path)}};
            if (const auto sizes = files.attributesOfFileSystemForPath(path)) {
                table.emplace("size", sizes->get<std::uint64_t>(system::NSFileSystemSize).value_or(0));
                table.emplace("free", sizes->get<std::uint64_t>(system::NSFileSystemFreeSize).value_or(0));
            }
            tables.emplace_back(*name, std::move(table));
        }
        tables[known->second].second.find("mountPoints")->second.array()->emplace_back(path);
    }
    return tables;
}

/// Adds what the disk's description tells of its volume; nothing when there is none on it.
void describe(const PropertyTable& description, PropertyTable& table)
{
    constexpr std::pair<std::string_view, const char*> keys[] = {{"DAVolumeKind", "kind"}, {"DAVolumeName", "name"}};
    for (const auto& [key, ours] : keys) {
        if (const PropertyValue* const value = description.lookUp(key))
            table.emplace(ours, *value);
    }
    if (const auto uuid = description.get<base::Uuid>("DAVolumeUUID"))
        table.emplace("uuid", uuid->text());
    if (const PropertyValue* const mountable = table.empty() ? nullptr : description.lookUp("DAVolumeMountable"))
        table.emplace("mountable", *mountable);
}

} // namespace

PropertyArray volumes()
{
    Tables tables = mountedVolumes();
    std::unordered_map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < tables.size(); ++i)
        places.emplace(tables[i].first, i);
    for (const std::shared_ptr<Disk>& disk : Vantorel::shared().disks()) {
        const system::PropertyTableRef description = system::DADiskCopyDescription(disk->diskObject());
        if (!description || !disk->bsdName())
            continue;
        const auto [known, isNew] = places.try_emplace(*disk->bsdName(), tables.size());
        if (isNew)
            tables.emplace_back(*disk->bsdName(), PropertyTable());
        describe(*description, tables[known->second].second);
    }
    PropertyArray volumes;
    for (auto& [name, table] : tables) {
        if (table.empty())
            continue;
        table.emplace("disk", name);
        volumes.emplace_back(std::move(table));
    }
    return volumes;
}

} // namespace vantorel::report
