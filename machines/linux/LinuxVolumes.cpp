// SPDX-License-Identifier: GPL-2.0-or-later
#include "LinuxVolumes.h"

#include "HardwareIdentity.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantorel::machines {

namespace {

std::uint64_t number(std::uint64_t major, std::uint64_t minor)
{
    return major << 32U | minor;
}

/// The platform's name of a file system; Linux's own where it has none.
std::string kindOf(std::string_view type)
{
    constexpr std::array<std::pair<std::string_view, std::string_view>, 5> names{
        {{"vfat", "msdos"}, {"hfsplus", "hfs"}, {"ntfs3", "ntfs"}, {"fuseblk", "ntfs"}, {"ntfs-3g", "ntfs"}}};
    const auto* const known = std::ranges::find(names, type, [](const auto& row) { return row.first; });
    return std::string(known == names.end() ? type : known->second);
}

system::VolumeFacts factsOf(const BlockDevice& device)
{
    system::VolumeFacts facts;
    const std::string_view type = valueOf(device.properties, "ID_FS_TYPE");
    const std::string_view usage = valueOf(device.properties, "ID_FS_USAGE");
    const bool isFileSystem = usage == "filesystem";
    if (isFileSystem || type == "swap")
        facts.kind = kindOf(type);
    if (!type.empty())
        facts.mountable = isFileSystem;
    if (!facts.kind)
        return facts;
    facts.uuid = base::Uuid::parse(valueOf(device.properties, "ID_FS_UUID"));
    if (std::string label = decoded(valueOf(device.properties, "ID_FS_LABEL_ENC")); !label.empty())
        facts.name = std::move(label);
    return facts;
}

} // namespace

MountedDevices::MountedDevices(const SystemScan& scan)
{
    for (const BlockDevice& device : scan.devices) {
        byNumber_.emplace(number(device.major, device.minor), device.name);
        byPath_.emplace("/dev/" + device.name, device.name);
        if (device.mapping && !device.mapping->name.empty())
            byPath_.emplace("/dev/mapper/" + device.mapping->name, device.name);
    }
}

const std::string* MountedDevices::nameOf(const Mount& mount) const
{
    if (mount.major != 0) {
        const auto found = byNumber_.find(number(mount.major, mount.minor));
        return found == byNumber_.end() ? nullptr : &found->second;
    }
    // Without a device number of its own, but on a device: btrfs.
    const auto found = byPath_.find(mount.source);
    return found == byPath_.end() ? nullptr : &found->second;
}

VolumesByName volumesOf(const SystemScan& scan, const MountedDevices& devices, const std::vector<Mount>& mounts)
{
    VolumesByName volumes;
    for (const BlockDevice& device : scan.devices)
        volumes.emplace(device.name, factsOf(device));
    for (const Mount& mount : mounts) {
        const std::string* const name = mount.isWhole && !mount.isHidden ? devices.nameOf(mount) : nullptr;
        if (!name)
            continue;
        system::VolumeFacts& facts = volumes[*name];
        facts.mountPoints.push_back(mount.target);
        facts.mountable = true;
        if (!facts.kind)
            facts.kind = kindOf(mount.type);
    }
    return volumes;
}

} // namespace vantorel::machines
