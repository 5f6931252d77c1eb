// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/linux/MediaEntries.h"
#include "machines/linux/NameUuid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace vantorel::machines {
namespace {

BlockDevice wholeDisk()
{
    BlockDevice disk;
    disk.kernelName = disk.name = "sdx";
    disk.major = 65;
    disk.minor = 112;
    disk.size = 4'000'000;
    disk.blockSize = 4096;
    disk.unit = 23;
    disk.hardware.emplace();
    return disk;
}

BlockDevice partitionOf(const BlockDevice& disk, DeviceProperties properties)
{
    BlockDevice partition = disk;
    partition.kernelName = partition.name = "sdx3";
    partition.minor = 115;
    partition.size = 1'500'160;
    partition.hardware.reset();
    partition.partition = Partition{.number = 3, .start = 1'048'576};
    partition.properties = std::move(properties);
    return partition;
}

TEST(MediaEntries, TellWhereAPartitionLiesAndWhatItIs)
{
    const BlockDevice disk = wholeDisk();
    EntryList list;
    const std::string key =
        addPartition(partitionOf(disk, {{"ID_PART_ENTRY_TYPE", "0x7"},
                                        {"ID_PART_ENTRY_UUID", "0F8A32DA-865C-43D8-A285-B099BA83CBBA"}}),
                     disk, {.isLeaf = false}, "whole", list);
    const std::vector<KeyedEntry> entries = list.take();
    ASSERT_EQ(entries.size(), 1U);
    const KeyedEntry& entry = entries[0];
    EXPECT_EQ(key, "whole/scheme/Untitled 3@3");
    EXPECT_EQ(entry.className, "IOMedia");
    EXPECT_EQ(entry.properties, (PropertyTable{{"BSD Name", "sdx3"},
                                               {"BSD Unit", 23},
                                               {"BSD Major", 65},
                                               {"BSD Minor", 115},
                                               {"Size", 1'500'160},
                                               {"Preferred Block Size", 4096},
                                               {"Base", 1'048'576},
                                               {"Partition ID", 3},
                                               {"Whole", false},
                                               {"Leaf", false},
                                               {"Writable", true},
                                               {"Removable", false},
                                               {"Ejectable", false},
                                               {"Content", "Windows_NTFS"},
                                               {"Content Hint", "Windows_NTFS"},
                                               {"UUID", "0F8A32DA-865C-43D8-A285-B099BA83CBBA"}}));
}

TEST(MediaEntries, NameTheTypeOfAPartitionAsThePlatformDoes)
{
    const std::pair<const char*, const char*> types[] = {
        {"0x1", "DOS_FAT_12"},
        {"0x4", "DOS_FAT_16_S"},
        {"0x5", "DOS_Extended"},
        {"0x6", "DOS_FAT_16"},
        {"0x7", "Windows_NTFS"},
        {"0xb", "DOS_FAT_32"},
        {"0xc", "DOS_FAT_32"},
        {"0x82", "Linux_Swap"},
        {"0x83", "Linux"},
        {"0x8e", "0x8E"},
        {"0x2", "0x02"},
        {"0xff", "0xFF"},
        {"0x100", "0x100"},
        {"131", "131"},
        {"Apple_HFS", "Apple_HFS"},
        {"c12a7328-f81f-11d2-ba4b-00a0c93ec93b", "C12A7328-F81F-11D2-BA4B-00A0C93EC93B"},
        {"", ""},
    };
    const BlockDevice disk = wholeDisk();
    for (const auto& [type, content] : types) {
        EntryList list;
        addPartition(partitionOf(disk, {{"ID_PART_ENTRY_TYPE", type}}), disk, {}, "whole", list);
        const PropertyTable properties = list.take().at(0).properties;
        EXPECT_EQ(properties.get<std::string>("Content"), content) << type;
        EXPECT_EQ(properties.get<std::string>("Content Hint"), content) << type;
    }
}

TEST(MediaEntries, NameAPartitionByItsTableOrByItsNumber)
{
    const std::pair<DeviceProperties, const char*> rows[] = {
        {{{"ID_PART_ENTRY_NAME", "EFI\\x20part"}, {"PARTNAME", "else"}}, "EFI part"},
        {{{"PARTNAME", "boot"}}, "boot"},
        {{}, "Untitled 3"},
    };
    const BlockDevice disk = wholeDisk();
    for (const auto& [properties, name] : rows) {
        EntryList list;
        addPartition(partitionOf(disk, properties), disk, {}, "whole", list);
        EXPECT_EQ(list.take().at(0).name, name);
    }
}

TEST(MediaEntries, HaveTheUuidOfTheTableOrOneByWhichTheyAreFound)
{
    constexpr const char* mine = "0F8A32DA-865C-43D8-A285-B099BA83CBBA";
    constexpr const char* other = "892B4846-B035-4811-9C99-0298D22C35AB";
    const BlockDevice disk = wholeDisk();
    struct Row {
        BlockDevice device;
        bool isPhysical;
        std::optional<std::string> uuid;
    };
    const auto named = [](const std::string& text) { return nameUuid("physical:" + text).text(); };
    BlockDevice diskWithUuid = disk;
    diskWithUuid.properties = {{"ID_PART_ENTRY_UUID", mine}, {"ID_FS_UUID", "x"}};
    const Row rows[] = {
        {partitionOf(disk, {{"ID_PART_ENTRY_UUID", mine}, {"PARTUUID", other}}), false, mine},
        {partitionOf(disk, {{"ID_PART_ENTRY_UUID", "6a7f-03"}, {"PARTUUID", other}}), true, other},
        {partitionOf(disk, {{"PARTUUID", "6a7f-03"}}), false, {}},
        {partitionOf(disk, {{"PARTUUID", "6a7f-03"}, {"ID_FS_UUID", "abc"}}), true, named("abc")},
        {partitionOf(disk, {}), true, named("23:sdx3")},
        {diskWithUuid, false, {}},
        {diskWithUuid, true, named("x")},
    };
    for (const Row& row : rows)
        EXPECT_EQ(mediaProperties(row.device, disk, {.isPhysical = row.isPhysical}).get<std::string>("UUID"), row.uuid);
}

TEST(MediaEntries, AreOfTheSchemeAndTheKindOfTheirDisk)
{
    struct Row {
        DeviceProperties properties;
        bool isPartitioned;
        bool isOptical;
        std::string content;
        std::string className;
        std::string scheme; // empty: none
    };
    const Row rows[] = {
        {{{"ID_PART_TABLE_TYPE", "gpt"}}, true, false, "GUID_partition_scheme", "IOMedia", "IOGUIDPartitionScheme"},
        {{{"ID_PART_TABLE_TYPE", "dos"}}, true, false, "FDisk_partition_scheme", "IOMedia", "IOFDiskPartitionScheme"},
        {{{"ID_PART_TABLE_TYPE", "mac"}}, true, true, "Apple_partition_scheme", "IOCDMedia", "IOApplePartitionScheme"},
        {{{"ID_PART_TABLE_TYPE", "sun"}}, true, false, "", "IOMedia", "IOPartitionScheme"},
        {{}, true, false, "", "IOMedia", "IOPartitionScheme"},
        {{{"ID_PART_TABLE_TYPE", "gpt"}}, false, false, "", "IOMedia", ""},
        {{{"ID_CDROM_MEDIA_DVD", "1"}}, false, true, "", "IODVDMedia", ""},
        {{{"ID_CDROM_MEDIA_DVD", "1"}, {"ID_CDROM_MEDIA_BD", "1"}}, false, true, "", "IOBDMedia", ""},
        {{{"ID_CDROM_MEDIA_DVD", "1"}}, false, false, "", "IOMedia", ""},
    };
    for (const Row& row : rows) {
        BlockDevice disk = wholeDisk();
        disk.properties = row.properties;
        disk.properties["ID_PART_TABLE_UUID"] = "892b4846-b035-4811-9c99-0298d22c35ab";
        disk.hardware->isOptical = row.isOptical;
        EntryList list;
        const std::string key =
            addWhole(disk, {.isPartitioned = row.isPartitioned}, {.properties = {{"Writable", false}}}, list);
        EXPECT_EQ(key, "unit:23/media");
        const std::vector<KeyedEntry> entries = list.take();
        ASSERT_EQ(entries.size(), row.scheme.empty() ? 1U : 2U);
        EXPECT_EQ(entries[0].className, row.className);
        EXPECT_EQ(entries[0].properties.get<std::string>("Content"), row.content);
        EXPECT_EQ(entries[0].properties.get<bool>("Whole"), true);
        EXPECT_EQ(entries[0].properties.get<bool>("Writable"), false) << "what was said stands";
        if (row.scheme.empty())
            continue;
        EXPECT_EQ(entries[1].key, "unit:23/media/scheme");
        EXPECT_EQ(entries[1].className, row.scheme);
        EXPECT_THAT(entries[1].parents, testing::ElementsAre(key));
        EXPECT_EQ(entries[1].properties.get<std::string>("UUID"), "892B4846-B035-4811-9C99-0298D22C35AB");
    }
}

TEST(MediaEntries, AreRemovableAsTheirWholeDiskIs)
{
    for (const auto& [isRemovable, isImage, expected] :
         {std::tuple(false, false, false), std::tuple(true, false, true), std::tuple(false, true, true)}) {
        BlockDevice disk = wholeDisk();
        disk.isRemovable = isRemovable;
        if (isImage)
            disk.backingFile = "/tmp/some.iso";
        BlockDevice partition = partitionOf(wholeDisk(), {});
        partition.isReadOnly = true;
        const PropertyTable properties = mediaProperties(partition, disk, {});
        EXPECT_EQ(properties.get<bool>("Removable"), expected);
        EXPECT_EQ(properties.get<bool>("Ejectable"), expected);
        EXPECT_EQ(properties.get<bool>("Writable"), false);
        EXPECT_EQ(properties.get<bool>("Leaf"), true);
        EXPECT_EQ(mediumName(disk), isImage ? "some.iso Media" : "sdx Media");
    }
    BlockDevice disk = wholeDisk();
    disk.hardware->product = "ST600MM0006";
    EXPECT_EQ(mediumName(disk), "ST600MM0006 Media");
    disk.hardware->vendor = "SEAGATE";
    EXPECT_EQ(mediumName(disk), "SEAGATE ST600MM0006 Media");
}

} // namespace
} // namespace vantorel::machines
