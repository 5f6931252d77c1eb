// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/linux/LinuxMachine.h"

#include "LiveFixture.h"
#include "SampleComputer.h"
#include "documents/DiskTree.h"
#include "documents/DiskUse.h"
#include "machines/linux/NameUuid.h"
#include "vantorel/disks/CoreStorage.h"
#include "vantorel/disks/DiskImage.h"
#include "vantorel/system/IORegistry.h"
#include "vantorel/system/Installation.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace vantorel {

namespace {

using machines::LinuxMachine;
using machines::LinuxOptions;
using test::sataPort;
using testing::ElementsAre;

/// The library on a computer whose kernel files the test writes.
class LinuxMachineTest : public test::LiveFixture {
protected:
    void look()
    {
        system::install(std::make_unique<LinuxMachine>(options()));
        settle();
    }

    [[nodiscard]] LinuxOptions options() const
    {
        return {.sysfs = sysfs.sysfs(),
                .etc = sysfs.path("etc"),
                .mountTable = sysfs.path("mountinfo"),
                .readsSuperblocks = false,
                .events = machines::Udev::Source::kernel,
                .times = {.arrayPolling = std::chrono::milliseconds(5)}};
    }

    test::FakeSysfs sysfs;
};

std::string flag(std::optional<bool> value)
{
    return value ? (*value ? "yes" : "no") : "-";
}

/// Which commands the block storage device of a drive says it can be sent.
std::string commands(const Drive& drive)
{
    system::IOHandle driver;
    system::IOHandle device;
    system::IORegistryEntryGetParentEntry(system::IOHandle(drive.ioService()).get(), system::kIOServicePlane,
                                          driver.receive());
    system::IORegistryEntryGetParentEntry(driver.get(), system::kIOServicePlane, device.receive());
    system::PropertyTableRef properties;
    system::IORegistryEntryCreateCFProperties(device.get(), properties, nullptr, 0);
    return properties->get<bool>("SMART Capable") == true        ? "ata"
           : properties->get<bool>("NVMe SMART Capable") == true ? "nvme"
                                                                 : "-";
}

TEST_F(LinuxMachineTest, DrivesOfEveryRoadSayWhoTheyAre)
{
    addHardDisk(sysfs);
    addOtherDrives(sysfs);
    look();

    std::vector<std::string> drives;
    for (const auto& drive : Vantorel::shared().drives()) {
        drives.push_back(*drive->bsdName() + "|" + drive->model().value_or("-") + "|" + drive->vendor().value_or("-") +
                         "|" + drive->revision().value_or("-") + "|" + drive->serial().value_or("-") + "|" +
                         std::string(rawValue(drive->driveKind())) + "|" + std::string(rawValue(drive->interface())) +
                         "|" + std::string(rawValue(drive->deviceProtocol())) + "|" + flag(drive->isInternal()) + "|" +
                         flag(drive->isTrimEnabled()) + "|" + std::to_string(*drive->size()) + "|" + commands(*drive));
    }
    EXPECT_THAT(
        drives,
        ElementsAre("sda|WDC WD2003FYYS-02W0B1|Unknown|01.01D01|WD-WMAY00000017|hdd|ahci|sata|yes|no|2000398934016|ata",
                    // What a bridge tells by the kernel's flag is no knowledge of the drive behind it.
                    "sdb|Cruzer Glide|SanDisk|1.27|DD5641988396B|unknown|usb 3|usb|no|no|30752000000|-",
                    "sdc|ST600MM0006|SEAGATE|LS0A|S0M2T7XX|hdd|unknown|unknown|yes|no|600127266816|-",
                    "vda|-|Unknown|-|VTVIRT0006|unknown|unknown|unknown|yes|no|33554432|-",
                    "nvme0n1|Samsung SSD 970 EVO Plus 250GB|Samsung|2B2QEXM7|S4EUNX0N123456|ssd|nvme|pcie|yes|yes|"
                    "250059350016|nvme",
                    "mmcblk0|SC16G|Unknown|-|0x2b8d9d4e|ssd|unknown|sd|no|no|15931539456|-"));
}

TEST_F(LinuxMachineTest, WhetherADriveTurnsIsItsOwnWordBeforeTheKernels)
{
    struct Row {
        unsigned rotationRate;
        const char* kernelsFlag;
        bool isSolidState;
    };
    for (const Row& row : {Row{1, "1", true}, Row{0x400, "0", true}, Row{0x401, "0", false}, Row{0xFFFE, "0", false},
                           Row{0xFFFF, "0", true}, Row{0, "1", false}}) {
        const test::FakeSysfs files;
        addHardDisk(files);
        files.folder(sataPort, {{"vpd_pg89", test::page89("S1", "F", "M", row.rotationRate)}});
        files.folder(std::string(sataPort) + "/block/sda", {{"queue/rotational", row.kernelsFlag}});
        const auto scan = machines::scanSystem({.sysfs = files.sysfs(), .etc = files.path("etc")});
        EXPECT_EQ(scan.devices.at(0).hardware->isSolidState, row.isSolidState) << row.rotationRate;
    }
}

TEST_F(LinuxMachineTest, PartitionsAndTheirVolumes)
{
    addHardDisk(sysfs);
    sysfs.write("mountinfo", "27 1 8:2 / / rw - ext4 /dev/sda2 rw\n"
                             "28 27 8:2 /var/lib /elsewhere rw - ext4 /dev/sda2 rw\n" // a folder, bound
                             "29 27 0:21 / /proc rw - proc proc rw\n"
                             "30 27 0:40 /docker /var/lib/docker/1 rw - overlay overlay rw\n");
    look();

    EXPECT_EQ(names(Vantorel::shared().disks()), "sda sda1 sda2");
    const auto efi = tracked<Volume>("sda1");
    EXPECT_EQ(efi->mediaName(), "EFI System Partition");
    EXPECT_EQ(efi->content(), "C12A7328-F81F-11D2-BA4B-00A0C93EC93B");
    EXPECT_EQ(efi->mediaUuid(), base::Uuid::parse("0F8A32DA-865C-43D8-A285-B099BA83CBBA"));
    EXPECT_EQ(efi->size(), 536870912);
    EXPECT_EQ(efi->volumeUuid(), std::nullopt); // FAT has a number only
    EXPECT_FALSE(efi->isMounted());
    EXPECT_EQ(efi->isMountable(), true);

    const auto root = tracked<Volume>("sda2");
    EXPECT_EQ(root->mediaName(), "Linux root");
    EXPECT_EQ(root->volumeName(), "my root");
    EXPECT_EQ(root->volumeUuid(), base::Uuid::parse("892B4846-B035-4811-9C99-0298D22C35AB"));
    EXPECT_TRUE(root->isBootVolume());
    EXPECT_GT(root->freeSpace(), 0);
    EXPECT_EQ(names(Vantorel::shared().getVolumes(*tracked<Drive>("sda"))), "sda1 sda2");
    EXPECT_TRUE(tracked<Drive>("sda")->isBootDrive());
    EXPECT_THAT(*system::machine()->mountPoints(), ElementsAre("/"));
    struct statvfs status {};
    ASSERT_EQ(statvfs("/", &status), 0);
    EXPECT_EQ(system::machine()->fileSystem("/")->writable, (status.f_flag & ST_RDONLY) == 0);
}

TEST_F(LinuxMachineTest, APathLiesOnTheNearestMountAboveIt)
{
    addHardDisk(sysfs);
    const test::TemporaryFolder folder;
    for (const char* name : {"data", "data/inner", "database"})
        std::filesystem::create_directory(folder.file(name));
    // By name, as the kernel knows no mounts of these numbers.
    sysfs.write("mountinfo", "2000000001 1 8:2 / / rw - ext4 /dev/sda2 rw\n"
                             "2000000002 2000000001 8:1 / " +
                                 folder.file("data") + " rw - vfat /dev/sda1 rw\n");
    look();
    for (const auto& [path, disk] : {std::pair("", "sda2"), std::pair("data", "sda1"), std::pair("data/inner", "sda1"),
                                     std::pair("database", "sda2")})
        EXPECT_EQ(system::machine()->fileSystem(folder.file(path))->bsdName, disk) << path;
    EXPECT_FALSE(system::machine()->fileSystem(folder.file("none")));
}

TEST_F(LinuxMachineTest, CountersAreThoseOfTheMomentOfAsking)
{
    addHardDisk(sysfs);
    look();
    const auto drive = tracked<Drive>("sda");
    const auto first = drive->statistics();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->readOperations, 3);
    EXPECT_EQ(first->readBytes, 24 * 512);
    EXPECT_EQ(first->readTotalTime, 5e6);
    EXPECT_EQ(first->writeOperations, 6);
    EXPECT_EQ(first->writeBytes, 80 * 512);
    EXPECT_EQ(first->writeTotalTime, 9e6);

    const std::string stat = "sys/devices/" + std::string(sataPort) + "/block/sda/stat";
    sysfs.write(stat, "4 0 0 0 0 0 0 0\n");
    EXPECT_EQ(drive->statistics()->readOperations, 4);
    sysfs.write(stat, "4 0 0 no 0 0 0 0\n");
    EXPECT_FALSE(drive->statistics());
}

TEST_F(LinuxMachineTest, MirrorsAreRaidSetsOnTheirMembers)
{
    addHardDisk(sysfs);
    addOtherDrives(sysfs);
    const std::string disk = "pci0000:00/0000:00:04.0/nvme/nvme0/nvme0n1";
    sysfs.block(
        disk + "/nvme0n1p1", 259, 1, 12, 4096,
        "DEVTYPE=partition\nID_FS_TYPE=linux_raid_member\n"
        "ID_FS_UUID=6d1e8f0a-1111-2222-3333-444455556666\nID_FS_UUID_SUB=aaaaaaaa-0000-0000-0000-000000000002\n",
        {{"partition", "1\n"}, {"start", "64\n"}});
    const auto array = [this](const char* degraded, const char* second) {
        sysfs.block("virtual/block/md0", 9, 0, 40, 4000, "MD_DEVNAME=home\n",
                    {{"md/level", "raid1\n"},
                     {"md/array_state", "clean\n"},
                     {"md/raid_disks", "2\n"},
                     {"md/degraded", degraded},
                     {"md/dev-sda1/slot", "0\n"},
                     {"md/dev-sda1/state", "in_sync\n"},
                     {"md/dev-nvme0n1p1/slot", "1\n"},
                     {"md/dev-nvme0n1p1/state", second}});
    };
    array("0\n", "in_sync\n");
    look();

    const auto set = tracked<RaidStorage>("md0");
    ASSERT_TRUE(set);
    ASSERT_EQ(set->members().size(), 2U);
    EXPECT_EQ(set->members()[1], base::Uuid::parse("AAAAAAAA-0000-0000-0000-000000000002"));
    EXPECT_EQ(set->mediaUuid(), base::Uuid::parse("6D1E8F0A-1111-2222-3333-444455556666"));
    EXPECT_EQ(set->mediaName(), "home");
    EXPECT_EQ(names(Vantorel::shared().getVolumes(*tracked<Drive>("nvme0n1"))), "md0");
    EXPECT_EQ(names(Vantorel::shared().getVolumes(*tracked<Drive>("sda"))), "sda2 md0");

    // No event tells that a member has failed.
    const auto status = [&set] {
        system::IOHandle parent;
        system::IORegistryEntryGetParentEntry(system::IOHandle(set->ioService()).get(), system::kIOServicePlane,
                                              parent.receive());
        const auto text = system::IORegistryEntryCreateCFProperty(parent.get(), "AppleRAID-SetStatus", nullptr, 0);
        return text ? text->get<std::string>().value_or("") : "";
    };
    EXPECT_EQ(status(), "Online");

    // Nor does a signal end the thread that looks at it.
    static std::atomic<int> interrupted;
    interrupted = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { ++interrupted; };
    sigaction(SIGUSR1, &action, nullptr);
    constexpr int times = 20; // as it need not be waiting
    for (int i = 0; i < times; ++i) {
        for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task"))
            syscall(SYS_tgkill, getpid(), std::stoi(thread.path().filename()), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_GT(interrupted, times) << "more than this thread";

    sysfs.block(disk + "/nvme0n1p2", 259, 2, 12, 4096, "DEVTYPE=partition\n",
                {{"partition", "2\n"}, {"start", "8192\n"}});
    array("1\n", "faulty\n");
    EXPECT_TRUE(settleUntil([&status] { return status() == "Degraded"; }));
    EXPECT_FALSE(tracked<Volume>("nvme0n1p2")) << "its own event has not come: udev is not done with it";
}

TEST_F(LinuxMachineTest, EncryptedLvmIsOneLayerOnItsPartition)
{
    addHardDisk(sysfs);
    addVolumesInLayers(sysfs);
    sysfs.block("virtual/block/loop4", 7, 4, 61, 0);
    look();

    EXPECT_EQ(names(Vantorel::shared().disks()), "sda sda1 sda2 loop3 dm-0 dm-1");
    const auto root = tracked<CoreStorage>("dm-0");
    const auto swap = tracked<CoreStorage>("dm-1");
    const auto physical = tracked<Volume>("sda2");
    ASSERT_TRUE(root && swap);
    EXPECT_EQ(root->isEncrypted(), true);
    EXPECT_EQ(root->logicalVolume(), physical);
    EXPECT_EQ(swap->logicalVolume(), physical);
    EXPECT_EQ(swap->mediaName(), "my-swap");
    EXPECT_TRUE(root->csLogicalVolumeGroupUuid());
    EXPECT_EQ(root->csLogicalVolumeGroupUuid(), swap->csLogicalVolumeGroupUuid());
    EXPECT_NE(root->mediaUuid(), swap->mediaUuid());
    EXPECT_EQ(names(Vantorel::shared().getVolumes(*tracked<Drive>("sda"))), "dm-0 dm-1 sda1");
    EXPECT_EQ(tracked<DiskImage>("loop3")->mediaName(), "core_1.snap Media");
    const auto isLeaf = [](const Disk& disk) {
        system::PropertyTableRef properties;
        const system::IOHandle media(disk.ioService());
        system::IORegistryEntryCreateCFProperties(media.get(), properties, nullptr, 0);
        return properties->get<bool>("Leaf");
    };
    EXPECT_EQ(isLeaf(*tracked<Volume>("sda1")), true);
    EXPECT_EQ(isLeaf(*physical), false) << "something lies on it";
}

TEST_F(LinuxMachineTest, WhatLiesStraightOnAWholeDiskIsShownThere)
{
    const auto disk = [this](const char* name, int minor, const std::string& uevent) {
        sysfs.block(std::string("virtio/block/") + name, 254, minor, 30 + minor, 4096, "DEVTYPE=disk\n" + uevent);
    };
    disk("vda", 0, "ID_FS_TYPE=ext4\nID_FS_USAGE=filesystem\nID_FS_LABEL_ENC=root\n");
    disk("vdb", 16, "ID_FS_TYPE=linux_raid_member\nID_FS_UUID_SUB=aaaaaaaa-0000-0000-0000-000000000002\n");
    disk("vdc", 32, "ID_FS_TYPE=LVM2_member\n");
    disk("vdd", 48, "");
    sysfs.block("virtual/block/md0", 9, 0, 40, 4000, "",
                {{"md/level", "raid1\n"},
                 {"md/array_state", "clean\n"},
                 {"md/raid_disks", "1\n"},
                 {"md/degraded", "0\n"},
                 {"md/dev-vdb/slot", "0\n"},
                 {"md/dev-vdb/state", "in_sync\n"}});
    for (const auto& [name, below] : {std::pair("dm-0", "vdc"), {"dm-1", "md0"}}) {
        const std::string path = std::string("virtual/block/") + name;
        sysfs.block(path, 253, name[3] - '0', 50, 1000, "", {{"dm/name", name}});
        sysfs.link("sys/devices/" + path + "/slaves/" + below, "../x");
    }
    sysfs.write("mountinfo", "27 1 254:0 / / rw - ext4 /dev/vda rw\n");
    look();

    std::string tree;
    for (const DiskNode& node : diskTree(Vantorel::shared())) {
        tree += *node.disk->bsdName() + (node.raidSet ? " in " + *node.raidSet->bsdName() : "") + "(";
        for (const DiskNode& child : node.children)
            tree += *child.disk->bsdName();
        tree += ") ";
    }
    EXPECT_EQ(tree, "vda() vdb in md0() vdc(dm-0) vdd() md0(dm-1) ");
    const auto volume = volumeOn(*tracked<Drive>("vda"));
    ASSERT_TRUE(volume);
    EXPECT_EQ(volume->mountPoint(), "/");
    EXPECT_GT(volume->freeSpace(), 0);
    EXPECT_EQ(volume->volumeName(), "root");
    EXPECT_EQ(fileSystemOn(*tracked<Drive>("vda")), "ext4");
    EXPECT_FALSE(volumeOn(*tracked<Drive>("vdb")));
    EXPECT_FALSE(tracked<Volume>("vda")) << "no list has it: the drive is the disk of that name";
    EXPECT_EQ(setStatusOf(*tracked<RaidStorage>("md0")), "Online");
}

TEST_F(LinuxMachineTest, FilesThatAreOddAreNoMoreThanMissing)
{
    addHardDisk(sysfs);
    const std::string disk = "sys/devices/" + std::string(sataPort);
    sysfs.write(disk + "/vpd_pg89", "short");
    sysfs.write(disk + "/model", std::string(1 << 20, 'x'));
    sysfs.write(disk + "/rev", "\xFF\xFE");
    sysfs.folder(std::string(sataPort) + "/vpd_pg80", {}); // which opens, and cannot be read
    sysfs.write(disk + "/block/sda/queue/logical_block_size", "99999999999999999999");
    sysfs.write(disk + "/block/sda/sda1/start", "-5");
    sysfs.block("virtual/block/dm-0", 253, 0, 70, 9, "", {{"dm/uuid", ""}}); // on one another, as no kernel has it
    sysfs.block("virtual/block/dm-1", 253, 1, 71, 9);
    sysfs.link("sys/devices/virtual/block/dm-0/slaves/dm-1", "x");
    sysfs.link("sys/devices/virtual/block/dm-1/slaves/dm-0", "x");
    sysfs.block("virtual/block/md5", 9, 5, 72, 9, "",
                {{"md/raid_disks", "18446744073709551615"}, {"md/dev-gone/slot", "0"}});
    sysfs.write("sys/devices/virtual/block/vdx/size", "100"); // on its way out: without numbers
    sysfs.link("sys/class/block/vdx", "../../devices/virtual/block/vdx");
    sysfs.link("sys/class/block/gone", "../../devices/virtual/block/gone");
    sysfs.write("sys/class/block/file", "");
    sysfs.block("virtual/block/vdh", 254, 9, 73, 100, "", {{"hidden", "1"}});
    sysfs.block("virtual/block/vdz", 254, 10, 74, 100, "", {{"size", "99999999999999999"}});
    look();

    EXPECT_EQ(names(Vantorel::shared().disks()), "sda sda1 sda2");
    const auto drive = tracked<Drive>("sda");
    EXPECT_EQ(drive->model()->size(), 4096U);
    EXPECT_EQ(drive->revision(), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(drive->blockSize(), 512);
}

TEST_F(LinuxMachineTest, NothingToSeeIsAComputerWithoutDisks)
{
    system::install(
        std::make_unique<LinuxMachine>(LinuxOptions{.sysfs = "/none", .etc = "/none", .mountTable = "/none"}));
    settle();
    EXPECT_TRUE(Vantorel::shared().disks().empty());
    EXPECT_EQ(system::machine()->mountPoints(), std::nullopt);
    EXPECT_EQ(system::machine()->openAta(0x100000001).status, system::kIOReturnNoDevice);
}

TEST_F(LinuxMachineTest, SuperblocksAreReadOnlyWhereUdevKnowsNothing)
{
    addHardDisk(sysfs);
    std::vector<std::string> asked;
    const machines::ScanSources sources{
        .sysfs = sysfs.sysfs(),
        .etc = sysfs.path("etc"),
        .udev =
            [](const machines::BlockDevice& device) {
                return device.name == "sda1" ? machines::DeviceProperties()
                                             : machines::DeviceProperties{{"USEC_INITIALIZED", "11535442"}};
            },
        .superblocks =
            [&asked](const machines::BlockDevice& device, const machines::BlockDevice& whole) {
                asked.push_back(device.name + " of " + whole.name);
                return machines::DeviceProperties{{"ID_FS_LABEL_ENC", "BOOT"}};
            }};
    const auto first = machines::scanSystem(sources);
    EXPECT_THAT(asked, ElementsAre("sda1 of sda"));
    const auto second = machines::scanSystem(sources, &first, {"sda2"});
    EXPECT_EQ(asked.size(), 1U);
    EXPECT_EQ(machines::valueOf(second.devices.at(1).properties, "ID_FS_LABEL_ENC"), "BOOT");
}

TEST_F(LinuxMachineTest, WhatIsOnItsWayHiddenOrWithoutAMediumIsLeftOut)
{
    struct Row {
        std::string name;
        test::FakeSysfs::Files files;
        bool isSeen;
    };
    const Row rows[] = {
        {"sda", {{"ro", "1\n"}}, true},
        {"sda/sda1", {{"uevent", "MAJOR=8\nMINOR=1\nDEVTYPE=partition\n"}}, false}, // without its number
        {"sda/sda2", {{"uevent", "MAJOR=8\nMINOR=2\nDEVTYPE=partition\n"}, {"partition", "2\n"}}, true},
        {"sdb", {{"uevent", "MINOR=16\nDEVNAME=sdb\n"}}, false},
        {"sdc", {{"uevent", "MAJOR=8\nDEVNAME=sdc\n"}}, false},
        {"sdd", {{"hidden", "1\n"}}, false},
        {"sde", {{"size", "0\n"}}, false},
        {"sdf", {{"size", "1\n"}}, true},
        {"fd0", {}, false},
        {"fda", {}, true},
        {"mmcblk0", {}, true},
        {"mmcblk0boot0", {}, false},
        {"mmcblk0rpmb", {}, false},
        {"sr0", {{"device/type", "5\n"}, {"uevent", "MAJOR=11\nMINOR=0\nID_CDROM=1\n"}}, false},
        {"sr1", {{"device/type", "5\n"}, {"uevent", "MAJOR=11\nMINOR=1\nID_CDROM=1\nID_CDROM_MEDIA=1\n"}}, true},
        {"sr2", {{"device/type", "5\n"}, {"size", "2097151\n"}}, false}, // what the kernel says of none
        {"sr3", {{"device/type", "5\n"}, {"size", "2097152\n"}}, true},
    };
    std::vector<std::string> expected;
    for (const Row& row : rows) {
        sysfs.block("pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0/block/" + row.name, 8, 240, 7, 4096, "",
                    row.files);
        if (row.isSeen)
            expected.push_back(row.name.substr(row.name.rfind('/') + 1));
    }
    const auto scan = machines::scanSystem({.sysfs = sysfs.sysfs(), .etc = sysfs.path("etc")});
    std::vector<std::string> seen;
    for (const machines::BlockDevice& device : scan.devices) {
        seen.push_back(device.name);
        EXPECT_EQ(device.isReadOnly, device.name == "sda");
        EXPECT_EQ(device.partition.has_value(), device.name == "sda2");
    }
    EXPECT_THAT(seen, testing::UnorderedElementsAreArray(expected));
}

TEST_F(LinuxMachineTest, TheComputerIsKnownByItsBoardOrByItsSystem)
{
    sysfs.write("etc/machine-id", "3d1219c7c4c5404aaa1f6d2a48adfda4\n");
    const machines::ScanSources sources{.sysfs = sysfs.sysfs(), .etc = sysfs.path("etc")};
    // Not the id itself, which is meant to stay on the computer.
    EXPECT_EQ(machines::scanPlatform(sources).uuid,
              machines::nameUuid("machine-id:3d1219c7c4c5404aaa1f6d2a48adfda4").text());
    sysfs.write("sys/class/dmi/id/product_uuid", "4c4c4544-0038-3510-8052-b4c04f4e3732\n");
    EXPECT_EQ(machines::scanPlatform(sources).uuid, "4C4C4544-0038-3510-8052-B4C04F4E3732");
}

} // namespace

} // namespace vantorel
