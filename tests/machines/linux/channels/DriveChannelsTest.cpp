// SPDX-License-Identifier: GPL-2.0-or-later
#include "ScriptedDrive.h"
#include "machines/linux/channels/LinuxChannels.h"
#include "support/TestData.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>

namespace vantorel::channels {
namespace {

using namespace system;
using test::Exchange;
using test::refused;
using test::registers;
using test::Reply;
using test::ScriptedDrive;

constexpr auto ataVendor = "A: vendor=ATA     \\n\n";
constexpr auto powerMode = "85 06 20 00 00 00 00 00 00 00 00 00 00 00 E5 00";
constexpr auto identify = "85 08 0E 00 00 00 01 00 00 00 00 00 00 00 EC 00";
constexpr auto jmicronIdentify = "A1 80 00 00 02 00 00 00 00 00 00 00 < 0=454D564E 2=00000006 12=00000001";

Reply identity()
{
    return {.data = test::readTestData("ata/wd-aaks/identify.bin"), .sense = {}};
}

ChannelOptions knowing(std::optional<std::string> words, bool wake = false)
{
    return {.wake = wake, .usbBridge = [words](const auto&, const auto&, const auto&) { return words; }};
}

void plugIntoUsb(DeviceNode& node)
{
    node.usbVendor = "152d";
    node.usbProduct = "0578";
    node.usbVersion = "0204";
}

/// From here on the thread opens only what its user may, root or not.
void refrainFromRootsRights()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> rights{};
    ASSERT_EQ(::syscall(SYS_capget, &header, rights.data()), 0);
    rights[0].effective &= ~(1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH);
    ASSERT_EQ(::syscall(SYS_capset, &header, rights.data()), 0);
}

TEST(DriveChannels, LeaveASleepingDriveAsleep)
{
    ScriptedDrive drive("sdb", ataVendor);
    DriveChannels channels({});
    for (const auto standby : {std::uint8_t{0}, std::uint8_t{1}}) {
        drive.expect({{powerMode, registers(0x50, 0, standby, 0)}});
        EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnNotReady);
    }
    EXPECT_EQ(channels.whyNotOpened(drive.node)->status, kIOReturnNotReady);
    EXPECT_EQ(channels.whyNotOpened(drive.node)->reason, "The drive is asleep and was left so.");
    EXPECT_EQ(channels.whyNotOpened(drive.node)->remedy, "");
    drive.expect({{powerMode, registers(0x50, 0, 0x80, 0)}, {identify, identity()}}); // idle, but turning
    EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnSuccess);
    EXPECT_FALSE(channels.whyNotOpened(drive.node));

    DriveChannels waking(knowing(std::nullopt, true));
    drive.expect({{identify, identity()}});
    EXPECT_EQ(waking.openAta(drive.node).status, kIOReturnSuccess);
}

TEST(DriveChannels, DoNotEvenOpenWhatTheKernelHasSuspended)
{
    for (const char* words : {"", "sat", "sntasmedia", "sntjmicron/sat"}) {
        SCOPED_TRACE(words);
        ScriptedDrive drive("sdb", std::string(ataVendor) + "A: power/runtime_status=suspended\\n\n");
        if (*words)
            plugIntoUsb(drive.node);
        std::filesystem::remove(drive.file()); // opening would fail otherwise
        DriveChannels channels(knowing(words));
        const bool isNvme = channels.commands(drive.node) == DriveCommands::nvme;
        EXPECT_EQ(isNvme ? channels.openNvme(drive.node).status : channels.openAta(drive.node).status,
                  kIOReturnNotReady);
        EXPECT_FALSE(channels.readIdentity(drive.node));
    }
}

TEST(DriveChannels, AskAnUnknownBridgeOnce)
{
    const auto refusal = " is not known and did not answer for the drive.";
    for (const Reply& reply : {refused(5, 0x20), Reply{.data = Data(512), .sense = {}}, Reply{.host = 3}}) {
        ScriptedDrive drive("sdb");
        plugIntoUsb(drive.node);
        DriveChannels channels(knowing(std::nullopt));
        drive.expect({{identify, reply}});
        EXPECT_EQ(channels.commands(drive.node), DriveCommands::none);
        EXPECT_EQ(channels.whyNotOpened(drive.node)->reason, "Its USB bridge (152d:0578)" + std::string(refusal));
        EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnUnsupported);
        EXPECT_EQ(channels.whyNotOpened(drive.node)->reason, "Its USB bridge (152d:0578)" + std::string(refusal));
        EXPECT_FALSE(channels.readIdentity(drive.node));
        // Another drive in the place of this one is asked again, and speaks.
        drive.node.sysfs += "/.";
        drive.expect({{identify, identity()}, {powerMode, registers(0x50, 0, 0xFF, 0)}, {identify, identity()}});
        EXPECT_EQ(channels.commands(drive.node), DriveCommands::ata);
        EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnSuccess);
    }
}

TEST(DriveChannels, FindOutWhatIsBehindATwofoldBridge)
{
    Data controller = test::readTestData("nvme/identify.bin");
    Data end(512);
    std::ranges::copy(std::string_view("NVME"), end.begin());
    const auto answered = [&](const Data& data) {
        return std::vector<Exchange>{{jmicronIdentify, {}},
                                     {"A1 82 00 00 10 00 00 00 00 00 00 00", {.data = data, .sense = {}}},
                                     {"A1 8F 00 00 02 00 00 00 00 00 00 00", {.data = end, .sense = {}}}};
    };
    const std::vector<Exchange> sata = {{powerMode, registers(0x50, 0, 0xFF, 0)}, {identify, identity()}};
    Data blank = controller;
    std::fill_n(blank.begin() + 24, 40, std::uint8_t{' '});
    struct Row {
        std::vector<Exchange> asking;
        DriveCommands found;
    };
    const Row rows[] = {{answered(controller), DriveCommands::nvme},
                        {answered(blank), DriveCommands::ata},
                        {{{jmicronIdentify, refused(5, 0x24)}}, DriveCommands::ata}};
    for (const Row& row : rows) {
        ScriptedDrive drive("sdb");
        plugIntoUsb(drive.node);
        DriveChannels channels(knowing("sntjmicron/sat"));
        drive.expect(row.asking);
        EXPECT_EQ(channels.commands(drive.node), row.found);
        const bool isNvme = row.found == DriveCommands::nvme;
        drive.expect(isNvme ? answered(controller) : sata);
        EXPECT_EQ(channels.openNvme(drive.node).status, isNvme ? kIOReturnSuccess : kIOReturnUnsupported);
        EXPECT_EQ(channels.openAta(drive.node).status, isNvme ? kIOReturnUnsupported : kIOReturnSuccess);
    }
}

TEST(DriveChannels, SayWhichBridgesCarryNothing)
{
    ScriptedDrive drive("sdb", "A: vendor=Generic \\n\n");
    EXPECT_EQ(DriveChannels({}).commands(drive.node), DriveCommands::none); // SCSI and no USB
    plugIntoUsb(drive.node);
    for (const char* words : {"", "unsupported", "usbunheardof", "sat,13", "usbjmicron,2"}) {
        SCOPED_TRACE(words);
        DriveChannels channels(knowing(words));
        EXPECT_EQ(channels.commands(drive.node), DriveCommands::none);
        for (int i = 0; i < 2; ++i) { // before it is opened, and after
            EXPECT_EQ(channels.whyNotOpened(drive.node)->reason,
                      "Its USB bridge (152d:0578) carries no commands to the drive.");
            EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnUnsupported);
        }
    }
    drive.node.path = "/dev/mmcblk0";
    EXPECT_EQ(DriveChannels({}).commands(drive.node), DriveCommands::none);
}

TEST(DriveChannels, FindTheDriveInABayOrSayThatTheyCannot)
{
    ScriptedDrive drive("sdb");
    plugIntoUsb(drive.node);
    struct Row {
        std::uint8_t ports; ///< in use
        IOReturn status;
        const char* reason;
    };
    const Row rows[] = {
        {0x00, kIOReturnNoDevice, "The drive is gone."},
        {0x44, kIOReturnNotFound, "Its USB bridge has two drives, and nothing says which of them this is."},
        {0xBB, kIOReturnNoDevice, "The drive is gone."},
    };
    for (const Row& row : rows) {
        DriveChannels channels(knowing("usbjmicron"));
        drive.expect({{"DF 10 00 00 01 00 72 0F 00 00 00 FD", {.data = {row.ports}, .sense = {}}}});
        EXPECT_EQ(channels.openAta(drive.node).status, row.status);
        EXPECT_EQ(channels.whyNotOpened(drive.node)->reason, row.reason);
    }
}

TEST(DriveChannels, SayWhatIsMissingAndHowToGiveIt)
{
    const std::string command = "sudo setcap cap_dac_read_search,cap_sys_rawio,cap_sys_admin+ep ";
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    struct Row {
        const char* name;
        Exchange exchange;
        const char* commands;
    };
    const Row rows[] = {
        {"sdb", {powerMode, {.error = EPERM}}, "ts commands take CAP_SYS_RAWIO."},
        {"nvme0", {"nvme 02 FFFFFFFF 7F0002 0 0 0 0 0 512", {.error = EACCES}}, "ts commands take CAP_SYS_ADMIN."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedDrive drive(row.name, ataVendor);
        DriveChannels channels({});
        const auto open = [&] {
            return row.name[0] == 'n' ? channels.openNvme(drive.node).status : channels.openAta(drive.node).status;
        };
        drive.expect({row.exchange});
        EXPECT_EQ(open(), kIOReturnNotPrivileged);
        DriveObstacle obstacle = channels.whyNotOpened(drive.node).value();
        EXPECT_EQ(obstacle.status, kIOReturnNotPrivileged);
        EXPECT_EQ(obstacle.reason, "I" + std::string(row.commands));
        EXPECT_EQ(obstacle.remedy, command + program);

        ASSERT_EQ(::chmod(drive.file().c_str(), 0), 0);
        refrainFromRootsRights();
        EXPECT_EQ(open(), kIOReturnNotPrivileged);
        obstacle = channels.whyNotOpened(drive.node).value();
        EXPECT_EQ(obstacle.reason,
                  "There is no read access to " + drive.node.path + ", and i" + std::string(row.commands));
        EXPECT_EQ(obstacle.remedy.substr(0, command.size()), command);
    }
}

TEST(DriveChannels, CountAnUnknownBridgeAsAbleWhileItMayNotBeAskedUnlessItIsAStick)
{
    for (const auto& [removable, expected] :
         {std::pair("0", DriveCommands::ata), std::pair("1", DriveCommands::none)}) {
        ScriptedDrive drive("sdb", "", std::string("A: removable=") + removable + "\\n\n");
        plugIntoUsb(drive.node);
        DriveChannels channels(knowing(std::nullopt));
        drive.expect({{identify, {.error = EPERM}}, {identify, {.error = EPERM}}});
        EXPECT_EQ(channels.commands(drive.node), expected);
        EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnNotPrivileged); // rights may have come meanwhile
    }
}

TEST(DriveChannels, DoNotSpeakToAnotherDeviceThanWasFound)
{
    ScriptedDrive drive("sdb", ataVendor);
    DriveChannels channels({});
    drive.node.diskSequence = 8;
    EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnNoDevice);
    drive.node.diskSequence.reset();
    drive.expect({{powerMode, registers(0x50, 0, 0xFF, 0)}, {identify, identity()}});
    EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnSuccess);

    umockdev_testbed_set_attribute(drive.bed(), drive.node.sysfs.c_str(), "dev", "8:17\n"); // another number
    EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnNoDevice);
    std::filesystem::remove(drive.file());
    EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnNoDevice);
    EXPECT_EQ(channels.whyNotOpened(drive.node)->reason, "The drive is gone.");
    EXPECT_EQ(channels.whyNotOpened(drive.node)->remedy, "");
}

} // namespace
} // namespace vantorel::channels
