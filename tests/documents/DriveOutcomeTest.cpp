// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/DriveOutcome.h"
#include "documents/SideBySide.h"
#include "support/RegistryFixture.h"
#include "support/TestData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>

namespace vantorel {
namespace {

using namespace system;
using Kind = DriveOutcome::Kind;

class DriveOutcomes : public test::RegistryFixture {
protected:
    /// A drive that declares itself capable; gives the entry that answers for it.
    std::uint64_t addAta(test::DiskTree& tree, const std::string& bsdName)
    {
        const auto driver = tree.driver("AppleAHCI", "WDC WD5000AAKS-00TMA0", {{"Serial Number", "WD-" + bsdName}},
                                        {{"SMART Capable", true}});
        tree.media(driver, bsdName, "ATA Media");
        return driver - 1;
    }

    AtaResult answer(const AtaCommand& command) const
    {
        if (command.command == 0xEC)
            return {kIOReturnUnsupported, 0, command.lba};
        if (command.feature == 0xD0)
            std::ranges::copy(data, command.read.begin());
        if (command.feature == 0xD1)
            std::ranges::copy(thresholds, command.read.begin());
        return {kIOReturnSuccess, command.read.size(), command.lba};
    }

    Data data = test::readTestData("ata/wd-aaks/data.bin");
    Data thresholds = test::readTestData("ata/wd-aaks/thresholds.bin");
};

TEST_F(DriveOutcomes, TellWhatCameOfEveryDriveInOrder)
{
    test::DiskTree tree;
    const auto slow = addAta(tree, "disk0");
    const auto asleep = addAta(tree, "disk1");
    const auto nvme = tree.driver("IONVMeController", "NVMe", {}, {{"NVMe SMART Capable", true}}, "PCI-Express");
    tree.media(nvme, "disk2", "Namespace 1");
    tree.media(nvme, "disk3", "Namespace 2");
    const auto barred = addAta(tree, "disk4");
    tree.drive("disk5", "Stick");
    const auto bridged = tree.driver("AppleUSBXHCI", "Bridge", {}, {}, "USB");
    const auto broken = addAta(tree, "disk6");
    const auto refused = addAta(tree, "disk7");
    const auto fast = addAta(tree, "disk8");
    tree.media(bridged, "disk9", "USB Media");
    auto& machine = load(std::move(tree));

    std::atomic<bool> fastIsRead = false;
    machine.ataDrives[slow] = [&](const AtaCommand& command) {
        for (int i = 0; i < 500 && !fastIsRead; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return answer(command);
    };
    machine.ataDrives[fast] = [&](const AtaCommand& command) {
        fastIsRead = fastIsRead || command.feature == 0xDA;
        return answer(command);
    };
    machine.ataDrives[broken] = [](const AtaCommand&) { return AtaResult{kIOReturnIOError, 0, 0}; };
    std::atomic<int> logsRead = 0;
    machine.nvmeDrives[nvme - 1] = [&](const NvmeCommand& command) {
        logsRead += command.opcode == 2 ? 1 : 0;
        const Data bytes = test::readTestData(command.opcode == 2 ? "nvme/smart.bin" : "nvme/identify.bin");
        std::copy_n(bytes.begin(), std::min(bytes.size(), command.read.size()), command.read.begin());
        return NvmeResult{kIOReturnSuccess, command.read.size(), 0};
    };
    machine.obstacles[asleep] = {kIOReturnNotReady, "The drive is asleep and was left so.", ""};
    machine.obstacles[barred] = {kIOReturnNotPrivileged, "It needs rights.", "sudo give rights"};
    machine.obstacles[bridged - 1] = {kIOReturnUnsupported, "Its bridge carries nothing.", ""};
    static_cast<void>(refused);

    auto outcomes = unreadDrives({});
    readDrives(outcomes);
    struct Expected {
        const char* name;
        Kind kind;
        int status;
        const char* error;
    };
    const Expected expected[] = {
        {"disk0", Kind::read, 16, ""},
        {"disk1", Kind::asleep, 0, "The drive is asleep and was left so."},
        {"disk2", Kind::read, 32, ""},
        {"disk3", Kind::read, 32, ""},
        {"disk4", Kind::notOpened, 2, "It needs rights."},
        {"disk5", Kind::noSmart, 0, "It has no SMART data."},
        {"disk6", Kind::failed, 4, "Unable to enable operations."},
        {"disk7", Kind::notOpened, 2, "Unable to create S.M.A.R.T plugin interface."},
        {"disk8", Kind::read, 16, ""},
        {"disk9", Kind::noSmart, 0, "Its bridge carries nothing."},
    };
    ASSERT_EQ(outcomes.size(), std::size(expected));
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        EXPECT_EQ(outcomes[i].name, expected[i].name);
        EXPECT_EQ(outcomes[i].kind, expected[i].kind) << expected[i].name;
        EXPECT_EQ(outcomes[i].status(), expected[i].status) << expected[i].name;
        EXPECT_EQ(outcomes[i].error, expected[i].error) << expected[i].name;
        EXPECT_EQ(outcomes[i].judged.has_value(), expected[i].kind == Kind::read);
        const std::set<std::string> explained = {"disk1", "disk4", "disk9"};
        EXPECT_EQ(outcomes[i].isExplained, explained.contains(expected[i].name)) << expected[i].name;
    }
    EXPECT_EQ(outcomes[4].remedy, "sudo give rights");
    EXPECT_EQ(statusOf(outcomes), 2 | 4 | 16 | 32);
    EXPECT_TRUE(fastIsRead) << "a drive that hangs held it up";
    EXPECT_EQ(logsRead, 1) << "two namespaces are one drive";

    auto named = unreadDrives({"disk10", "WD-disk8", "disk5", "/dev/disk8", "disk8"});
    readDrives(named);
    ASSERT_EQ(named.size(), 3U) << "each drive once";
    EXPECT_EQ(named[0].kind, Kind::noDrive);
    EXPECT_EQ(named[0].status(), 1);
    EXPECT_EQ(named[1].name, "disk8");
    EXPECT_EQ(named[2].status(), 2) << "it was asked for";
    EXPECT_EQ(statusOf(std::vector<DriveOutcome>()), 1) << "no drives";
}

TEST_F(DriveOutcomes, TellWhatIsMountedFromThoseThatAreNotGood)
{
    auto& machine = load(test::oneOfEverything());
    machine.mounted.emplace();
    for (const auto& [path, name] : std::initializer_list<std::pair<std::string, std::string>>{{"/vm", "disk1s2"},
                                                                                               {"/archive", "disk3"},
                                                                                               {"/mirror", "disk6"},
                                                                                               {"/efi", "disk0s1"},
                                                                                               {"/image", "disk7s1"}}) {
        machine.mounted->push_back(path);
        machine.fileSystems[path] = {.bsdName = name, .mountPoint = path};
    }
    auto outcomes =
        unreadDrives({"disk0", "disk2", "disk4", "disk9"}); // none has SMART, which is a fault of what is named
    outcomes.push_back(unreadDrives({}).back());
    findVolumes(outcomes);
    const auto places = [&](std::size_t i) {
        std::string text;
        for (const MountedVolume& volume : outcomes[i].volumes)
            text += volume.bsdName + " " + volume.mountPoint + ";";
        return text;
    };
    EXPECT_EQ(places(0), "disk0s1 /efi;disk1s2 /vm;") << "in a container on it";
    EXPECT_EQ(places(1), "disk3 /archive;") << "a logical volume";
    EXPECT_EQ(places(2), "disk6 /mirror;") << "the set that its partition is a member of";
    EXPECT_EQ(places(3), "") << "no drive";
    EXPECT_EQ(outcomes[4].name, "disk5");
    EXPECT_EQ(places(4), "") << "nothing is wrong with it";
}

TEST(SideBySide, CallsEachOnceOnSixteenThreadsAtMostAndTellsHowFarItIs)
{
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    std::vector<std::atomic<int>> calls(40);
    std::set<std::size_t> told;
    sideBySide(
        calls.size(),
        [&](std::size_t i) {
            const int now = ++running;
            for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);) {
            }
            // All sixteen meet here at first; a call that waits alone gives up.
            for (int turn = 0; turn < 200 && most < 16; ++turn)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            if (i == 39)
                std::this_thread::sleep_for(std::chrono::milliseconds(300));
            ++calls[i];
            --running;
        },
        [&](std::size_t done) { told.insert(done); });
    EXPECT_EQ(most, 16);
    EXPECT_TRUE(std::ranges::all_of(calls, [](const auto& count) { return count == 1; }));
    EXPECT_TRUE(told.contains(39)) << "while the last one ran";
    sideBySide(
        0, [](std::size_t) { FAIL(); }, [](std::size_t) {});
}

} // namespace
} // namespace vantorel
