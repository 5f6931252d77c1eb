// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/Disk.h"
#include "support/RegistryFixture.h"
#include "system/registry/HandleTable.h"
#include "vantorel/disks/CoreStorage.h"
#include "vantorel/disks/Volume.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <unistd.h>

using namespace vantorel;

namespace {

const auto someUuid = *base::Uuid::parse("08ABE21C-20D4-11D6-8DF6-0003935A76B2");
const auto otherUuid = *base::Uuid::parse("24514B7A-2804-11D6-8A02-003065704866");

/// A disk of which the disk service knows nothing, to be loaded by hand.
template <typename T = Disk>
std::shared_ptr<T> unloaded()
{
    return Disk::create<T>(std::make_shared<system::DADisk>());
}

PropertyTable fullDescription()
{
    return {
        {"DAMediaBSDUnit", 3},
        {"DAMediaBSDName", "disk3s1"},
        {"DAMediaBSDMajor", 1},
        {"DAMediaBSDMinor", 9},
        {"DAMediaName", "Data"},
        {"DAMediaUUID", someUuid},
        {"DADeviceContent", "Apple_HFS"},
        {"DAMediaSize", 500'277'792'768},
        {"DADeviceInternal", true},
        {"DADeviceRemovable", false},
        {"DADeviceEjectable", true},
        {"DADeviceWritable", false},
        {"DADeviceMountable", true},
        {"DADeviceNetwork", false},
    };
}

void expectRuleAFieldsAbsent(const Disk& disk)
{
    EXPECT_FALSE(disk.bsdUnit() || disk.bsdName() || disk.bsdMajor() || disk.bsdMinor() || disk.mediaName());
    EXPECT_FALSE(disk.content() || disk.size() || disk.isInternal() || disk.isRemovable() || disk.isEjectable());
    EXPECT_FALSE(disk.isWritable() || disk.isMountable() || disk.isNetworkDisk());
}

} // namespace

using DiskTest = test::RegistryFixture;

TEST_F(DiskTest, TakesEveryFieldFromItsDescription)
{
    const auto disk = unloaded();
    disk->loadDAInfo(fullDescription());
    EXPECT_EQ(disk->bsdUnit(), 3);
    EXPECT_EQ(disk->bsdName(), "disk3s1");
    EXPECT_EQ(disk->bsdMajor(), 1);
    EXPECT_EQ(disk->bsdMinor(), 9);
    EXPECT_EQ(disk->mediaName(), "Data");
    EXPECT_EQ(disk->mediaUuid(), someUuid);
    EXPECT_EQ(disk->content(), "Apple_HFS");
    EXPECT_EQ(disk->size(), 500'277'792'768);
    EXPECT_EQ(disk->formattedSize(), "500.28 GB");
    EXPECT_EQ(disk->isInternal(), true);
    EXPECT_EQ(disk->isRemovable(), false);
    EXPECT_EQ(disk->isEjectable(), true);
    EXPECT_EQ(disk->isWritable(), false);
    EXPECT_EQ(disk->isMountable(), true);
    EXPECT_EQ(disk->isNetworkDisk(), false);
    EXPECT_EQ(disk->diskType(), Disk::DiskType::unknown);
}

TEST_F(DiskTest, LosesMostFieldsWithTheirKeysButKeepsUuidAndFormattedSize)
{
    PropertyTable wrongTypes = fullDescription();
    for (auto& [key, value] : wrongTypes)
        value = PropertyValue(PropertyArray{});
    for (const PropertyTable& table : {PropertyTable{}, wrongTypes}) {
        const auto disk = unloaded();
        disk->loadDAInfo(fullDescription());
        disk->loadDAInfo(table);
        expectRuleAFieldsAbsent(*disk);
        EXPECT_EQ(disk->mediaUuid(), someUuid);
        EXPECT_EQ(disk->formattedSize(), "500.28 GB");
        EXPECT_FALSE(disk->isEqual(disk.get()));
    }
}

TEST_F(DiskTest, ReplacesAUuidByAnotherOrByTheTextOfOne)
{
    const auto disk = unloaded();
    for (const auto& [value, expected] : {std::pair<PropertyValue, base::Uuid>{someUuid, someUuid},
                                          {otherUuid, otherUuid},
                                          {someUuid.text(), someUuid},
                                          {"no UUID", someUuid}}) {
        disk->loadDAInfo({{"DAMediaUUID", value}});
        EXPECT_EQ(disk->mediaUuid(), expected);
    }
}

TEST_F(DiskTest, LeavesTheFractionOutOfASizeWithADecimalComma)
{
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    const auto disk = unloaded();
    disk->loadDAInfo({{"DAMediaSize", 1'500'000'000}});
    EXPECT_EQ(disk->formattedSize(), "1GB");
    disk->loadDAInfo({{"DAMediaSize", 64'000}});
    EXPECT_EQ(disk->formattedSize(), "64 KB") << "no comma, so the blank stays";
}

TEST_F(DiskTest, EqualsADiskOfTheSameNameWhateverItsClass)
{
    const auto disk = unloaded();
    const auto volume = unloaded<Volume>();
    EXPECT_FALSE(disk->isEqual(volume.get())) << "neither has a name";
    disk->loadDAInfo({{"DAMediaBSDName", "disk4"}, {"DAMediaSize", 1}});
    volume->loadDAInfo({{"DAMediaBSDName", "disk4"}, {"DAMediaSize", 2}});
    EXPECT_TRUE(disk->isEqual(volume.get()) && volume->isEqual(disk.get()));
    volume->loadDAInfo({{"DAMediaBSDName", "disk5"}});
    EXPECT_FALSE(disk->isEqual(volume.get()) || disk->isEqual(nullptr));
}

TEST_F(DiskTest, FindsItsIconThroughTheBundleAndReadsItAtEachAccess)
{
    const auto folder = std::filesystem::path(testing::TempDir()) / ("vantorel-icons-" + std::to_string(getpid()));
    const auto resources = folder / "Contents" / "Resources";
    std::filesystem::create_directories(resources);
    const std::string file = resources / "Internal.icns";
    std::ofstream(file, std::ios::binary) << "icns" << std::string(12, 'x');
    auto& machine = test::TestMachine::install();
    machine.bundles["com.apple.iokit.IOStorageFamily"] = folder;

    const auto icon = [](const char* identifier, PropertyValue name) {
        return PropertyTable{{"DAMediaIcon", PropertyTable{{"CFBundleIdentifier", identifier},
                                                           {"IOBundleResourceFile", std::move(name)}}}};
    };
    const auto disk = unloaded();
    EXPECT_TRUE(disk->icon().isEmpty());
    disk->loadDAInfo(icon("com.apple.iokit.IOStorageFamily", "Internal.icns"));
    EXPECT_EQ(disk->iconPath(), file);
    EXPECT_EQ(disk->icon().bytes().size(), 16U);
    disk->loadDAInfo({});
    disk->loadDAInfo(icon("no.such.bundle", "Internal.icns"));
    disk->loadDAInfo(icon("com.apple.iokit.IOStorageFamily", 5));
    EXPECT_EQ(disk->iconPath(), file) << "what cannot be followed leaves the path";
    std::filesystem::remove(file);
    EXPECT_TRUE(disk->icon().isEmpty()) << "an unreadable file gives an empty image";
    disk->loadDAInfo(icon("com.apple.iokit.IOStorageFamily", "Gone.icns"));
    EXPECT_FALSE(disk->iconPath()) << "the bundle's answer counts, also when there is none";
    std::filesystem::remove_all(folder);
}

TEST_F(DiskTest, GivesANewHandleOfItsMediaEntryAtEachCall)
{
    load(test::oneOfEverything());
    const auto disk = tracked("disk0");
    const std::size_t before = system::liveHandleCount();
    {
        const auto first = disk->ioService();
        const auto second = disk->ioService();
        EXPECT_TRUE(first && second);
        EXPECT_NE(first.get(), second.get());
    }
    EXPECT_EQ(system::liveHandleCount(), before);
    EXPECT_FALSE(unloaded()->ioService());
}

TEST_F(DiskTest, RunsTheLoadsOfTheSubclassFromConstruction)
{
    load(test::oneOfEverything());
    const auto logical = tracked<CoreStorage>("disk3");
    ASSERT_TRUE(logical);
    EXPECT_EQ(logical->isEncrypted(), true) << "set by the subclass's load";
    EXPECT_EQ(logical->diskType(), Disk::DiskType::corestorage);
}
