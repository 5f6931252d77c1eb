// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/linux/MountTable.h"

#include "FakeSysfs.h"
#include "machines/linux/LinuxVolumes.h"

#include <gtest/gtest.h>

namespace vantorel::machines {

namespace {

BlockDevice device(const std::string& name, std::uint64_t major, std::uint64_t minor, DeviceProperties properties = {})
{
    BlockDevice made{.kernelName = name, .name = name, .major = major, .minor = minor};
    made.properties = std::move(properties);
    return made;
}

TEST(LinuxVolumes, MountPointsAreThoseOfWholeFileSystems)
{
    const test::FakeSysfs files;
    files.write("mountinfo",
                "22 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw\n"
                "23 22 0:5 / /dev rw - devtmpfs udev rw\n"
                "24 22 8:1 / /boot\\040efi rw - vfat /dev/sda1 rw\n"
                "25 22 0:31 /@home /home rw - btrfs /dev/sdb1 rw,subvolid=257,subvol=/@home\n"
                "26 22 0:31 /@home/me /srv/me rw - btrfs /dev/sdb1 rw,subvolid=257,subvol=/@home\n" // bound
                "27 22 8:2 /var/cache /srv/cache rw - ext4 /dev/sda2 rw\n"                          // bound
                "28 22 253:0 / /mnt rw - xfs /dev/mapper/vg-data rw\n"
                "29 28 8:3 / /mnt rw - ext4 /dev/sda3 rw\n" // over the one before
                "30 22 0:50 / /var/lib/docker/overlay2/x/merged rw - overlay overlay rw\n"
                "31 22 7:1 / /snap/core/1 ro - squashfs /dev/loop1 ro\n"
                "32 22 8:2 / /second rw - ext4 /dev/sda2 rw\n"
                "33 22 0:60 / /net rw - nfs4 server:/export rw\n"
                "not a mount\n");
    const auto mounts = MountTable(files.path("mountinfo")).mounts();
    ASSERT_TRUE(mounts);

    SystemScan scan;
    scan.devices = {device("sda1", 8, 1, {{"ID_FS_TYPE", "vfat"}, {"ID_FS_USAGE", "filesystem"}}),
                    device("sda2", 8, 2),
                    device("sda3", 8, 3),
                    device("sda4", 8, 4, {{"ID_FS_TYPE", "swap"}, {"ID_FS_USAGE", "other"}}),
                    device("sda5", 8, 5, {{"ID_FS_TYPE", "LVM2_member"}, {"ID_FS_USAGE", "raid"}, {"ID_FS_UUID", "x"}}),
                    device("sdb1", 8, 17),
                    device("loop1", 7, 1),
                    device("dm-0", 253, 0)};
    auto volumes = volumesOf(scan, MountedDevices(scan), *mounts);

    struct Expected {
        const char* name;
        std::optional<std::string> kind;
        std::optional<bool> mountable;
        std::vector<std::string> mountPoints;
    };
    for (const Expected& expected : {Expected{"sda1", "msdos", true, {"/boot efi"}},
                                     {"sda2", "ext4", true, {"/", "/second"}},
                                     {"sda3", "ext4", true, {"/mnt"}},
                                     {"sda4", "swap", false, {}},
                                     {"sda5", std::nullopt, false, {}},
                                     {"sdb1", "btrfs", true, {"/home"}},
                                     {"loop1", "squashfs", true, {"/snap/core/1"}},
                                     {"dm-0", std::nullopt, std::nullopt, {}}}) {
        SCOPED_TRACE(expected.name);
        const system::VolumeFacts& facts = volumes.at(expected.name);
        EXPECT_EQ(facts.kind, expected.kind);
        EXPECT_EQ(facts.mountable, expected.mountable);
        EXPECT_EQ(facts.mountPoints, expected.mountPoints);
    }
    EXPECT_EQ(volumes.size(), scan.devices.size());
}

TEST(MountTable, IsAbsentWhereThereIsNone)
{
    EXPECT_EQ(MountTable("/none").mounts(), nullptr);
    EXPECT_NE(MountTable().mounts(), nullptr);
}

} // namespace

} // namespace vantorel::machines
