// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/Volume.h"
#include "disks/DiskLinks.h"
#include "support/RegistryFixture.h"
#include "vantorel/disks/AppleStorage.h"
#include "vantorel/disks/CoreStorage.h"
#include "vantorel/disks/DiskImage.h"
#include "vantorel/disks/RaidStorage.h"

#include <gtest/gtest.h>

using namespace vantorel;

namespace {

const auto someUuid = *base::Uuid::parse("08ABE21C-20D4-11D6-8DF6-0003935A76B2");

template <typename T = Volume>
std::shared_ptr<T> unloaded()
{
    return Disk::create<T>(std::make_shared<system::DADisk>());
}

} // namespace

using VolumeTest = test::RegistryFixture;

TEST_F(VolumeTest, ChangesItsKindOnlyForTheTwoItKnows)
{
    const auto volume = unloaded();
    const std::pair<PropertyTable, Disk::VolumeKind> loads[] = {
        {{{"DAVolumeKind", "msdos"}}, Disk::VolumeKind::unknown}, {{{"DAVolumeKind", "hfs"}}, Disk::VolumeKind::hfs},
        {{{"DAVolumeKind", "exfat"}}, Disk::VolumeKind::hfs},     {{{"DAVolumeKind", "ntfs"}}, Disk::VolumeKind::ntfs},
        {{{"DAVolumeKind", 5}}, Disk::VolumeKind::unknown},
    };
    for (const auto& [table, kind] : loads) {
        volume->loadDAInfo(table);
        EXPECT_EQ(volume->volumeKind(), kind);
    }
    const auto container = unloaded<AppleStorage>();
    DiskLinks::put(volume, *container);
    volume->loadDAInfo({{"DAVolumeKind", "apfs"}});
    EXPECT_EQ(volume->volumeKind(), Disk::VolumeKind::apfs) << "any kind text leaves what the registry set";
    volume->loadDAInfo({});
    EXPECT_EQ(volume->volumeKind(), Disk::VolumeKind::unknown);
}

TEST_F(VolumeTest, KeepsItsUuidAndLosesItsNameWithTheirKeys)
{
    const auto volume = unloaded();
    volume->loadDAInfo({{"DAVolumeUUID", someUuid}, {"DAVolumeName", "Data"}});
    EXPECT_EQ(volume->volumeName(), "Data");
    volume->loadDAInfo({{"DAVolumeName", true}});
    EXPECT_EQ(volume->volumeUuid(), someUuid);
    EXPECT_FALSE(volume->volumeName());
}

TEST_F(VolumeTest, AsksTheSystemAnewWhereItIsMountedAndHowMuchIsFree)
{
    auto& machine = load(test::oneOfEverything());
    machine.mounted = {"/Volumes/Unknown", "/", "/Volumes/Second"};
    machine.fileSystems["/Volumes/Unknown"] = {.bsdName = "", .mountPoint = "/Volumes/Unknown"};
    machine.fileSystems["/"] = {.bsdName = "disk1s1", .mountPoint = "/", .size = 100, .free = 40};
    machine.fileSystems["/Volumes/Second"] = {
        .bsdName = "disk7s1", .mountPoint = "/Volumes/Second", .size = 9, .free = 7};

    const auto boot = tracked<Volume>("disk1s1");
    EXPECT_EQ(boot->mountPoint(), "/");
    EXPECT_TRUE(boot->isMounted() && boot->isBootVolume());
    EXPECT_EQ(boot->freeSpace(), 40);
    const auto second = tracked<Volume>("disk7s1");
    EXPECT_EQ(second->mountPoint(), "/Volumes/Second");
    EXPECT_FALSE(second->isBootVolume());
    EXPECT_EQ(second->freeSpace(), 7);

    machine.fileSystems["/"].free = 39;
    EXPECT_EQ(boot->freeSpace(), 39);
    machine.mounted->pop_back();
    EXPECT_FALSE(second->isMounted() || second->isBootVolume());
    EXPECT_EQ(second->freeSpace(), 0);
    EXPECT_FALSE(unloaded()->mountPoint()) << "a volume without a name";
    machine.mounted.reset();
    EXPECT_FALSE(boot->mountPoint());
}

TEST_F(VolumeTest, LogicalStorageReadsItsIdentifiersFromTheEntriesAbove)
{
    auto tree = test::oneOfEverything();
    const auto disk = tree.drive("disk8", "X");
    const auto partition = tree.media(disk, "disk8s1", "p", {{"UUID", "not a UUID"}});
    tree.raidSet({{partition, test::memberUuidA}, {partition, "malformed"}}, "disk9", "Half");
    tree.container(partition, "disk10", test::containerUuid);
    load(std::move(tree));

    const auto logical = tracked<CoreStorage>("disk3");
    EXPECT_EQ(logical->logicalVolumeUuid(), base::Uuid::parse(test::physicalUuid));
    EXPECT_EQ(logical->isEncrypted(), true);
    EXPECT_FALSE(logical->isFusion()) << "a missing key is absent, not false";
    EXPECT_EQ(tracked<AppleStorage>("disk1")->bsdVolumeUUID(), base::Uuid::parse(test::storeUuid));
    EXPECT_FALSE(tracked<AppleStorage>("disk10")->bsdVolumeUUID());
    const std::vector<base::Uuid> both = {*base::Uuid::parse(test::memberUuidA), *base::Uuid::parse(test::memberUuidB)};
    EXPECT_EQ(tracked<RaidStorage>("disk6")->members(), both);
    EXPECT_EQ(tracked<RaidStorage>("disk9")->members().size(), 1U);
    EXPECT_EQ(tracked<DiskImage>("disk7")->diskType(), Disk::DiskType::diskimage);
}

TEST_F(VolumeTest, CoreStorageKeepsItsUuidsAndLosesItsFlagsWithTheirKeys)
{
    const auto logical = unloaded<CoreStorage>();
    logical->loadIOInfo({{"CoreStorage Encrypted", false},
                         {"CoreStorage CPDK", true},
                         {"CoreStorage LVG UUID", someUuid},
                         {"CoreStorage LVF UUID", someUuid.text()}});
    EXPECT_EQ(logical->isEncrypted(), false);
    EXPECT_EQ(logical->isFusion(), true);
    logical->loadIOInfo({{"CoreStorage CPDK", "yes"}});
    EXPECT_FALSE(logical->isEncrypted() || logical->isFusion());
    EXPECT_EQ(logical->csLogicalVolumeGroupUuid(), someUuid);
    EXPECT_EQ(logical->csLogicalVolumeFamilyUuid(), someUuid);
}
