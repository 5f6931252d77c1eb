// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RegistryFixture.h"
#include "system/files/FileManager.h"
#include "vantorel/disks/Drive.h"

#include <gtest/gtest.h>

using namespace vantorel;

class DriveOverviewTest : public test::RegistryFixture {
protected:
    DriveOverviewTest() : machine(load(test::oneOfEverything()))
    {
        machine.mounted = {"/", "/Volumes/EFI"};
        machine.fileSystems["/"] = {.bsdName = "disk1s1", .mountPoint = "/", .free = 1000};
        machine.fileSystems["/Volumes/EFI"] = {.bsdName = "disk0s1", .mountPoint = "/Volumes/EFI", .free = 5000};
        machine.fileSystems[system::NSTemporaryDirectory()] = {.bsdName = "disk1s1", .mountPoint = "/", .free = 1000};
    }

    test::TestMachine& machine;
};

TEST_F(DriveOverviewTest, DrawsTheDriveAndItsVolumesInOrder)
{
    EXPECT_EQ(tracked<Drive>("disk0")->summary(), "SAMSUNG SSD 850 Media\n|\n  --"
                                                  "\n   |\n    - Macintosh (volume, apfs)"
                                                  "\n   |\n    - VM (volume, apfs)"
                                                  "\n   |\n    - EFI System Partition (volume, unknown)"
                                                  "\n   |\n    - Container (volume, unknown)\n");
    EXPECT_EQ(tracked<Drive>("disk4")->summary(),
              "WDC WD5000AAKS Media\n|\n  --\n   |\n    - Mirror (raid, unknown)\n");
    EXPECT_EQ(Disk::create<Drive>(std::make_shared<system::DADisk>())->summary(), "Unknown drive\n|\n  --\n");
}

TEST_F(DriveOverviewTest, KnowsTheBootDrive)
{
    EXPECT_TRUE(tracked<Drive>("disk0")->isBootDrive());
    EXPECT_FALSE(tracked<Drive>("disk2")->isBootDrive());
}

TEST_F(DriveOverviewTest, FindsTheFirstPlaceThatCanTakeAFile)
{
    const auto drive = tracked<Drive>("disk0");
    EXPECT_EQ(drive->getWritablePath(999), system::NSTemporaryDirectory()) << "for the boot volume";
    EXPECT_EQ(drive->getWritablePath(1000), "/Volumes/EFI") << "room for exactly the file is not enough";
    EXPECT_FALSE(drive->getWritablePath(5000));
    machine.fileSystems["/Volumes/EFI"].writable = false;
    EXPECT_FALSE(drive->getWritablePath(1000));
    EXPECT_FALSE(tracked<Drive>("disk2")->getWritablePath(0)) << "nothing of it is mounted";
    EXPECT_FALSE(isWritable("/nowhere", 0));
}
