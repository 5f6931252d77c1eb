// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "support/TestMachine.h"
#include "vantorel/base/PropertyValue.h"
#include "vantorel/system/Machine.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::test {

/// Puts the registry entries of drives and their disks together, in the platform's shapes. Ids count up from 1.
class DiskTree {
public:
    using Id = std::uint64_t;

    /// Every entry made so far, parents before children.
    std::vector<system::RegistryEntry> entries;

    Id add(std::vector<Id> parents, std::string className, std::string name, PropertyTable properties = {})
    {
        entries.push_back(
            {++lastId_, std::move(name), {}, std::move(className), {}, std::move(parents), std::move(properties)});
        return lastId_;
    }

    /// A media entry with a device name such as "disk3s1", whose unit and wholeness it tells. `more` goes over what a
    /// medium has of itself.
    Id media(Id parent, const std::string& bsdName, std::string name, PropertyTable more = {},
             std::string className = "IOMedia")
    {
        const std::size_t slice = bsdName.find('s', 4);
        PropertyTable properties = {
            {"BSD Name", bsdName},
            {"BSD Unit", std::stoi(bsdName.substr(4))},
            {"BSD Major", 1},
            {"BSD Minor", 1},
            {"Content", "Apple_HFS"},
            {"Ejectable", false},
            {"Leaf", slice != std::string::npos},
            {"Preferred Block Size", 512},
            {"Removable", false},
            {"Size", 1'500'000'000},
            {"Whole", slice == std::string::npos},
            {"Writable", true},
        };
        for (auto& [key, value] : more)
            properties.insert_or_assign(key, std::move(value));
        return add({parent}, std::move(className), std::move(name), std::move(properties));
    }

    /// A device under a controller, with its driver; gives the driver. `characteristics` is what the device says of
    /// itself, beside its model.
    Id driver(const std::string& controller, const std::string& model, PropertyTable characteristics = {},
              PropertyTable deviceProperties = {}, const std::string& protocol = "SATA")
    {
        const Id bus = add({}, "IOPCIDevice", controller);
        characteristics.try_emplace("Product Name", model);
        deviceProperties["Device Characteristics"] = std::move(characteristics);
        deviceProperties["Protocol Characteristics"] = PropertyTable{
            {"Physical Interconnect", protocol},
            {"Physical Interconnect Location", protocol == "USB" ? "External" : "Internal"},
        };
        const Id device = add({bus}, "IOBlockStorageDevice", "IOBlockStorageDevice", std::move(deviceProperties));
        return add({device}, "IOBlockStorageDriver", "IOBlockStorageDriver",
                   {{"Statistics", PropertyTable{{"Operations (Read)", 7}, {"Bytes (Write)", 4096}}}});
    }

    /// The whole disk of such a device.
    Id drive(const std::string& bsdName, const std::string& model, PropertyTable characteristics = {})
    {
        return media(driver("AppleAHCI", model, std::move(characteristics)), bsdName, model + " Media");
    }

    /// An APFS container on a physical store: gives the entry under which its volumes hang.
    Id container(Id store, const std::string& bsdName, const std::string& uuid)
    {
        const Id scheme = add({store}, "AppleAPFSContainerScheme", "AppleAPFSContainerScheme");
        const Id medium = media(scheme, bsdName, "AppleAPFSMedia", {{"UUID", uuid}}, "AppleAPFSMedia");
        return add({medium}, "AppleAPFSContainer", "AppleAPFSContainer", {{"UUID", uuid}});
    }

    Id apfsVolume(Id container, const std::string& bsdName, std::string name)
    {
        return media(container, bsdName, std::move(name), {}, "AppleAPFSVolume");
    }

    /// A CoreStorage logical volume on a physical volume.
    Id logicalVolume(Id physical, const std::string& bsdName, std::string name)
    {
        const Id pv = add({physical}, "CoreStoragePhysical", "CoreStoragePhysical");
        const Id group = add({pv}, "CoreStorageGroup", "Group");
        return media(group, bsdName, std::move(name),
                     {{"CoreStorage", true},
                      {"CoreStorage Encrypted", true},
                      {"CoreStorage LVG UUID", "11111111-0000-4000-8000-000000000001"},
                      {"CoreStorage LVF UUID", "11111111-0000-4000-8000-000000000002"}},
                     "CoreStorageLogical");
    }

    /// A RAID set of some partitions, each with the UUID it has as a member.
    Id raidSet(const std::vector<std::pair<Id, std::string>>& partitions, const std::string& bsdName, std::string name)
    {
        std::vector<Id> members;
        PropertyArray uuids;
        for (const auto& [partition, uuid] : partitions) {
            members.push_back(add({partition}, "AppleRAIDMember", "AppleRAIDMember",
                                  {{"IOClass", "AppleRAIDMember"}, {"AppleRAID-MemberUUID", uuid}}));
            uuids.emplace_back(uuid);
        }
        const Id set = add(members, "AppleRAIDMirrorSet", "AppleRAIDMirrorSet", {{"AppleRAID-Members", uuids}});
        return media(set, bsdName, std::move(name), {{"RAID", true}});
    }

private:
    Id lastId_ = 0;
};

inline constexpr const char* storeUuid = "AAAAAAAA-0000-4000-8000-000000000001";
inline constexpr const char* containerUuid = "AAAAAAAA-0000-4000-8000-000000000002";
inline constexpr const char* physicalUuid = "BBBBBBBB-0000-4000-8000-000000000001";
inline constexpr const char* memberUuidA = "CCCCCCCC-0000-4000-8000-000000000001";
inline constexpr const char* memberUuidB = "CCCCCCCC-0000-4000-8000-000000000002";

/// One of everything: an SSD with an APFS container, a disk with a CoreStorage volume, a RAID mirror, a disk image.
inline DiskTree oneOfEverything()
{
    DiskTree tree;
    const auto ssd = tree.drive("disk0", "SAMSUNG SSD 850", {{"Medium Type", "Solid State"}, {"Serial Number", "S1 "}});
    const auto ssdScheme = tree.add({ssd}, "IOGUIDPartitionScheme", "IOGUIDPartitionScheme");
    tree.media(ssdScheme, "disk0s1", "EFI System Partition", {{"UUID", "DDDDDDDD-0000-4000-8000-000000000001"}});
    const auto store = tree.media(ssdScheme, "disk0s2", "Container", {{"UUID", storeUuid}});
    const auto container = tree.container(store, "disk1", containerUuid);
    tree.apfsVolume(container, "disk1s1", "Macintosh");
    tree.apfsVolume(container, "disk1s2", "VM");

    const auto hdd = tree.drive("disk2", "ST9160821AS", {{"Medium Type", "Rotational"}});
    const auto hddScheme = tree.add({hdd}, "IOGUIDPartitionScheme", "IOGUIDPartitionScheme");
    const auto physical = tree.media(hddScheme, "disk2s2", "Archive", {{"UUID", physicalUuid}});
    tree.logicalVolume(physical, "disk3", "Archive");

    const auto left = tree.drive("disk4", "WDC WD5000AAKS");
    const auto leftPart = tree.media(left, "disk4s2", "RAID left", {{"UUID", "DDDDDDDD-0000-4000-8000-000000000002"}});
    const auto right = tree.drive("disk5", "WDC WD5000AAKS");
    const auto rightPart =
        tree.media(right, "disk5s2", "RAID right", {{"UUID", "DDDDDDDD-0000-4000-8000-000000000003"}});
    tree.raidSet({{leftPart, memberUuidA}, {rightPart, memberUuidB}}, "disk6", "Mirror");

    const auto image = tree.driver("IOHDIXController", "Disk Image", {}, {}, "Virtual Interface");
    const auto imageMedia = tree.media(image, "disk7", "Apple disk image Media");
    tree.media(imageMedia, "disk7s1", "disk image", {{"UUID", "DDDDDDDD-0000-4000-8000-000000000004"}});
    return tree;
}

} // namespace vantorel::test
