// SPDX-License-Identifier: GPL-2.0-or-later
#include "MediaEntries.h"

#include "HardwareIdentity.h"
#include "NameUuid.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace vantorel::machines {

namespace {

struct Scheme {
    std::string_view type; ///< of the table, in the words of libblkid
    std::string_view content;
    std::string_view className;
};

constexpr std::array<Scheme, 3> schemes{{{"gpt", "GUID_partition_scheme", "IOGUIDPartitionScheme"},
                                         {"dos", "FDisk_partition_scheme", "IOFDiskPartitionScheme"},
                                         {"mac", "Apple_partition_scheme", "IOApplePartitionScheme"}}};

/// Types of the MBR under the platform's names; others stand as "0x8E".
constexpr std::array<std::pair<std::uint64_t, std::string_view>, 9> mbrTypes{{{0x01, "DOS_FAT_12"},
                                                                              {0x04, "DOS_FAT_16_S"},
                                                                              {0x05, "DOS_Extended"},
                                                                              {0x06, "DOS_FAT_16"},
                                                                              {0x07, "Windows_NTFS"},
                                                                              {0x0B, "DOS_FAT_32"},
                                                                              {0x0C, "DOS_FAT_32"},
                                                                              {0x82, "Linux_Swap"},
                                                                              {0x83, "Linux"}}};

const Scheme* schemeNamed(std::string_view type)
{
    const auto* const found = std::ranges::find(schemes, type, &Scheme::type);
    return found == schemes.end() ? nullptr : found;
}

std::string partitionContent(std::string_view type)
{
    if (const auto uuid = base::Uuid::parse(type))
        return uuid->text();
    const auto number = parseNumber(type);
    if (!type.starts_with("0x") || !number || *number > 0xFF)
        return std::string(type);
    const auto* const known = std::ranges::find(mbrTypes, *number, [](const auto& row) { return row.first; });
    if (known != mbrTypes.end())
        return std::string(known->second);
    constexpr std::string_view digits = "0123456789ABCDEF";
    return {'0', 'x', digits[*number >> 4U], digits[*number & 15U]};
}

std::string partitionName(const BlockDevice& partition)
{
    std::string name = decoded(valueOf(partition.properties, "ID_PART_ENTRY_NAME"));
    if (name.empty())
        name = valueOf(partition.properties, "PARTNAME");
    return name.empty() ? "Untitled " + std::to_string(partition.partition->number) : name;
}

/// The UUID that stands in the partition table; a physical volume without one has one all the same, by which what
/// stands on it is found to.
std::optional<base::Uuid> mediumUuid(const BlockDevice& device, const MediaUse& use)
{
    for (const char* const key : {"ID_PART_ENTRY_UUID", "PARTUUID"}) {
        if (const auto uuid = device.partition ? base::Uuid::parse(valueOf(device.properties, key)) : std::nullopt)
            return uuid;
    }
    if (!use.isPhysical)
        return std::nullopt;
    const std::string_view own = valueOf(device.properties, "ID_FS_UUID");
    const std::string name = own.empty() ? std::to_string(device.unit) + ":" + device.kernelName : std::string(own);
    return nameUuid("physical:" + name);
}

std::string_view opticalClass(const DeviceProperties& properties)
{
    if (!valueOf(properties, "ID_CDROM_MEDIA_BD").empty())
        return "IOBDMedia";
    return valueOf(properties, "ID_CDROM_MEDIA_DVD").empty() ? "IOCDMedia" : "IODVDMedia";
}

} // namespace

std::string mediumName(const BlockDevice& disk)
{
    std::string name = disk.name;
    if (disk.backingFile)
        name = disk.backingFile->substr(disk.backingFile->rfind('/') + 1);
    else if (disk.hardware && !disk.hardware->product.empty())
        name = (disk.hardware->vendor.empty() ? "" : disk.hardware->vendor + " ") + disk.hardware->product;
    return name + " Media";
}

PropertyTable mediaProperties(const BlockDevice& device, const BlockDevice& whole, const MediaUse& use)
{
    const bool isImage = whole.backingFile.has_value();
    PropertyTable properties{{"BSD Name", device.name},
                             {"BSD Unit", device.unit},
                             {"BSD Major", device.major},
                             {"BSD Minor", device.minor},
                             {"Size", device.size},
                             {"Preferred Block Size", device.blockSize},
                             {"Whole", !device.partition},
                             {"Leaf", use.isLeaf},
                             {"Writable", !device.isReadOnly},
                             {"Removable", whole.isRemovable || isImage},
                             {"Ejectable", whole.isRemovable || isImage},
                             {"Content", ""},
                             {"Content Hint", ""}};
    if (const auto uuid = mediumUuid(device, use))
        properties.insert_or_assign("UUID", uuid->text());
    return properties;
}

std::string addWhole(const BlockDevice& disk, const MediaUse& use, KeyedEntry medium, EntryList& entries)
{
    const std::string_view type = valueOf(disk.properties, "ID_PART_TABLE_TYPE");
    const Scheme* const scheme = use.isPartitioned ? schemeNamed(type) : nullptr;
    PropertyTable properties = mediaProperties(disk, disk, use);
    if (scheme)
        properties.insert_or_assign("Content", scheme->content);
    for (auto& [key, value] : medium.properties)
        properties.insert_or_assign(key, std::move(value));
    medium.properties = std::move(properties);
    if (medium.className.empty())
        medium.className = disk.hardware && disk.hardware->isOptical ? opticalClass(disk.properties) : "IOMedia";
    const std::string key = entries.addAs("unit:" + std::to_string(disk.unit) + "/media", std::move(medium));
    if (!use.isPartitioned)
        return key;

    const std::string className(scheme ? scheme->className : "IOPartitionScheme");
    PropertyTable ofScheme;
    if (const auto uuid = base::Uuid::parse(valueOf(disk.properties, "ID_PART_TABLE_UUID")))
        ofScheme.insert_or_assign("UUID", uuid->text());
    entries.addAs(key + "/scheme",
                  {.parents = {key}, .name = className, .className = className, .properties = std::move(ofScheme)});
    return key;
}

std::string addPartition(const BlockDevice& partition, const BlockDevice& whole, const MediaUse& use,
                         const std::string& wholeKey, EntryList& entries)
{
    PropertyTable properties = mediaProperties(partition, whole, use);
    properties.insert_or_assign("Base", partition.partition->start);
    properties.insert_or_assign("Partition ID", partition.partition->number);
    const std::string content = partitionContent(valueOf(partition.properties, "ID_PART_ENTRY_TYPE"));
    properties.insert_or_assign("Content", content);
    properties.insert_or_assign("Content Hint", content);
    return entries.add({.parents = {wholeKey + "/scheme"},
                        .name = partitionName(partition),
                        .location = std::to_string(partition.partition->number),
                        .className = "IOMedia",
                        .properties = std::move(properties)});
}

} // namespace vantorel::machines
