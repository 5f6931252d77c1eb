// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "support/TestEntries.h"
#include "vantorel/machines/recorded/Loading.h"
#include "vantorel/system/DiskArbitration.h"
#include "vantorel/system/IORegistry.h"
#include "vantorel/system/Installation.h"
#include "vantorel/system/RunLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

using namespace vantorel;
using namespace vantorel::recorded;
using namespace vantorel::system;
using testing::ElementsAre;

namespace {

constexpr std::uint32_t smartKey = 0xC24F00;

/// A machine with one SMART capable drive, which a script takes away.
Recording withDrive(RecordedDrive drive)
{
    Recording recording;
    recording.entries = test::drive(1, "disk0", {{"SMART Capable", true}});
    recording.drives.emplace(1, std::move(drive));
    recording.script.push_back({1.0, RecordedStep::Removal{1}});
    return recording;
}

Data numbered(std::size_t size)
{
    Data bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes;
}

std::vector<std::string> heard;

void listen(const DASessionRef& session)
{
    DARegisterDiskAppearedCallback(
        session, nullptr, [](const DADiskRef& disk, void*) { heard.push_back("+" + *disk->bsdName); }, nullptr);
    DARegisterDiskDisappearedCallback(
        session, nullptr, [](const DADiskRef& disk, void*) { heard.push_back("-" + *disk->bsdName); }, nullptr);
    DARegisterDiskDescriptionChangedCallback(
        session, nullptr, nullptr,
        [](const DADiskRef& disk, const PropertyArray&, void*) {
            const PropertyTableRef description = DADiskCopyDescription(disk);
            heard.push_back(*disk->bsdName + (description->contains("DAVolumePath") ? " mounted" : " not mounted"));
        },
        nullptr);
    DASessionScheduleWithRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
}

/// The laptop, whose script takes a hundredth of its time.
std::unique_ptr<RecordedMachine> hurriedLaptop(Playback playback)
{
    Recording recording = loadRecording(VANTOREL_SAMPLES "/machines/laptop");
    for (RecordedStep& step : recording.script)
        step.seconds /= 100;
    return std::make_unique<RecordedMachine>(std::move(recording), playback);
}

const auto isScriptHeard =
    ElementsAre("+disk2", "+disk2s1", "disk2s1 mounted", "disk2s1 not mounted", "-disk2s1", "-disk2");

} // namespace

TEST(RecordedMachine, PlaysItsScriptByHand)
{
    auto owned = hurriedLaptop(Playback::byHand);
    RecordedMachine& machine = *owned;
    install(std::move(owned));
    const DASessionRef session = DASessionCreate(nullptr);
    listen(session);
    performPendingWork();
    EXPECT_EQ(heard.size(), 9U);
    heard.clear();
    machine.playUntil(0.006);
    performPendingWork();
    EXPECT_THAT(heard, ElementsAre("+disk2", "+disk2s1"));
    machine.playUntil(10);
    performPendingWork();
    EXPECT_THAT(heard, isScriptHeard);
    DASessionUnscheduleFromRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
}

TEST(RecordedMachine, PlaysItsScriptInTime)
{
    const DASessionRef session = DASessionCreate(nullptr);
    listen(session); // before there is anything to hear, however long the next line takes
    install(hurriedLaptop(Playback::inTime));
    while (heard.size() < 15)
        ASSERT_NE(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 20, true), CFRunLoopRunResult::timedOut);
    heard.erase(heard.begin(), heard.begin() + 9); // what was there at the start
    EXPECT_THAT(heard, isScriptHeard);
    DASessionUnscheduleFromRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
}

TEST(RecordedMachine, FindsTheFileSystemOfAPath)
{
    Recording recording;
    recording.volumes = {{"disk1", {.mountPoints = {"/"}}, 100, 10, false},
                         {"disk2", {.mountPoints = {"/Volumes/A", "/b/"}}, 200, 20, true}};
    RecordedMachine machine(std::move(recording));
    for (const auto& [path, disk] : std::vector<std::pair<std::string, std::string>>{{"/", "disk1"},
                                                                                     {"/tmp/x", "disk1"},
                                                                                     {"/Volumes/A", "disk2"},
                                                                                     {"/Volumes/A/f", "disk2"},
                                                                                     {"/Volumes/AB", "disk1"},
                                                                                     {"/b/c", "disk2"}}) {
        const auto facts = machine.fileSystem(path);
        ASSERT_TRUE(facts) << path;
        EXPECT_EQ(facts->bsdName, disk) << path;
    }
    EXPECT_FALSE(machine.fileSystem("relative"));
    EXPECT_EQ(machine.mountPoints(), (std::vector<std::string>{"/", "/Volumes/A", "/b/"}));
}

TEST(RecordedMachine, AnswersAtaCommandsAsTheDriveDid)
{
    RecordedDrive drive;
    drive.identify = numbered(512);
    drive.data = numbered(100);
    drive.exceeded = true;
    drive.logs[6] = numbered(512);
    drive.failures = {{"autosave", kIOReturnTimeout}, {"log 7", kIOReturnNotReadable}};
    auto owned = std::make_unique<RecordedMachine>(withDrive(std::move(drive)), Playback::byHand);
    RecordedMachine& machine = *owned;
    install(std::move(owned));
    const OpenedChannel<AtaChannel> opened = machine.openAta(1);
    ASSERT_EQ(opened.status, kIOReturnSuccess);

    struct Row {
        std::uint8_t command;
        std::uint8_t feature;
        std::uint32_t lba;
        IOReturn status;
        std::size_t received;
        std::uint32_t lbaBack;
    };
    for (const Row& row : std::vector<Row>{
             {0xEC, 0, 0, kIOReturnSuccess, 512, 0},
             {0xB0, 0xD0, smartKey, kIOReturnSuccess, 100, smartKey},
             {0xB0, 0xD1, smartKey, kIOReturnUnsupported, 0, smartKey},
             {0xB0, 0xD2, smartKey, kIOReturnTimeout, 0, smartKey},
             {0xB0, 0xD4, smartKey | 2, kIOReturnSuccess, 0, smartKey | 2},
             {0xB0, 0xD8, smartKey, kIOReturnSuccess, 0, smartKey},
             {0xB0, 0xD9, smartKey, kIOReturnSuccess, 0, smartKey},
             {0xB0, 0xD3, smartKey, kIOReturnUnsupported, 0, smartKey},
             {0xB0, 0xD5, smartKey | 6, kIOReturnSuccess, 512, smartKey | 6},
             {0xB0, 0xD5, smartKey | 7, kIOReturnNotReadable, 0, smartKey | 7},
             {0xB0, 0xD5, smartKey | 8, kIOReturnUnsupported, 0, smartKey | 8},
             {0xB0, 0xDA, smartKey, kIOReturnSuccess, 0, 0x2CF400},
             {0xB0, 0xD0, 0, kIOReturnUnsupported, 0, 0},
             {0x25, 0, 0, kIOReturnUnsupported, 0, 0},
         }) {
        Data buffer(512);
        const AtaResult result = opened.channel->execute(
            {.command = row.command, .feature = row.feature, .count = 1, .lba = row.lba, .read = buffer});
        EXPECT_EQ(result.status, row.status) << int{row.command} << " " << int{row.feature};
        EXPECT_EQ(result.received, row.received);
        EXPECT_EQ(result.lba, row.lbaBack);
        EXPECT_EQ(buffer[0], row.received > 0 ? 1 : 0);
    }
    Data small(10);
    EXPECT_EQ(opened.channel->execute({.command = 0xEC, .read = small}).received, 10U);

    machine.playUntil(1);
    EXPECT_EQ(opened.channel->execute({.command = 0xEC}).status, kIOReturnNoDevice);
    EXPECT_EQ(machine.openAta(1).status, kIOReturnNoDevice);
    EXPECT_EQ(machine.openNvme(1).status, kIOReturnUnsupported);
    EXPECT_EQ(machine.openAta(2).status, kIOReturnUnsupported);
}

TEST(RecordedMachine, AnswersNvmeCommandsAsTheControllerDid)
{
    RecordedDrive drive;
    drive.kind = RecordedDrive::Kind::nvme;
    drive.identify = numbered(4096);
    drive.logs = {{2, numbered(512)}, {1, numbered(128)}};
    drive.failures = {{"errorLog", kIOReturnIOError}};
    RecordedMachine machine(withDrive(std::move(drive)), Playback::byHand);
    const OpenedChannel<NvmeChannel> opened = machine.openNvme(1);
    ASSERT_TRUE(opened.channel);
    Data buffer(4096);
    const auto run = [&](std::uint8_t opcode, std::uint32_t cdw10, std::uint32_t offset = 0, std::uint32_t cdw11 = 0,
                         std::uint32_t upperOffset = 0) {
        return opened.channel->execute(
            {.opcode = opcode, .cdw10to15 = {cdw10, cdw11, offset, upperOffset, 0, 0}, .read = buffer});
    };
    EXPECT_EQ(run(6, 1).received, 4096U);
    EXPECT_EQ(run(6, 0).status, kIOReturnUnsupported);
    EXPECT_EQ(run(2, 127U << 16 | 2).received, 512U);
    EXPECT_EQ(run(2, 15U << 16 | 2, 4).received, 64U);
    EXPECT_EQ(buffer[0], 5) << "from the offset on";
    EXPECT_EQ(run(2, 2).received, 4U) << "one less is told than is wanted";
    EXPECT_EQ(run(2, 2, 0, 1).received, 512U) << "the upper half of the count";
    EXPECT_EQ(run(2, 2, 510).received, 2U);
    EXPECT_EQ(run(2, 2, 512).status, kIOReturnSuccess);
    EXPECT_EQ(run(2, 2, 513).status, kIOReturnUnsupported);
    EXPECT_EQ(run(2, 2, 0, 0, 1).completionStatus, 0x002);
    EXPECT_EQ(run(6, 2).completionStatus, 0x002);
    EXPECT_EQ(run(2, 15U << 16 | 1).status, kIOReturnIOError);
    EXPECT_EQ(run(2, 15U << 16 | 3).completionStatus, 0x109);
    EXPECT_EQ(run(9, 0).status, kIOReturnUnsupported);
}

TEST(RecordedMachine, SaysWhyADriveWasNotOpened)
{
    struct Row {
        std::optional<IOReturn> failure;
        const char* reason; // null where there is none to tell
    };
    for (const Row& row : {Row{kIOReturnNotReady, "The drive was asleep and was left so when it was recorded."},
                           Row{kIOReturnNotPermitted, "Opening it was not permitted when it was recorded."},
                           Row{kIOReturnNotPrivileged, "Opening it was not permitted when it was recorded."},
                           Row{kIOReturnIOError, nullptr}, Row{std::nullopt, nullptr}}) {
        RecordedDrive drive;
        if (row.failure)
            drive.failures.emplace("open", *row.failure);
        RecordedMachine machine(withDrive(std::move(drive)), Playback::byHand);
        EXPECT_EQ(machine.openAta(1).status, row.failure.value_or(kIOReturnSuccess));
        const auto obstacle = machine.whyNotOpened(1);
        ASSERT_EQ(obstacle.has_value(), row.reason != nullptr);
        if (obstacle) {
            EXPECT_EQ(obstacle->reason, row.reason);
            EXPECT_EQ(obstacle->status, row.failure);
        }
        EXPECT_FALSE(machine.whyNotOpened(2));
    }
}

TEST(RecordedMachine, MovesAVolumeAndKeepsTheOthers)
{
    Recording recording;
    recording.volumes = {{"disk1", {.mountPoints = {"/"}}, 100, 10, false},
                         {"disk2", {.mountPoints = {"/a", "/b"}}, 200, 20, true},
                         {"disk3", {.mountPoints = {"/c"}}, 300, 30, true}};
    recording.script = {{0.25, RecordedVolume{"disk2", {.mountPoints = {"/b", "/d"}}, 201, 21, true}},
                        {0.5, RecordedVolume{"disk4", {.mountPoints = {"/b"}}, 400, 40, true}},
                        {0.75, RecordedVolume{"disk2", {}, 0, 0, true}}};
    auto owned = std::make_unique<RecordedMachine>(std::move(recording), Playback::byHand);
    RecordedMachine& machine = *owned;
    install(std::move(owned));
    struct Row {
        double until;
        std::vector<std::string> disks; // of /a, /b, /c and /d
        std::vector<std::string> mountPoints;
    };
    for (const Row& row : std::vector<Row>{
             {0.24, {"disk2", "disk2", "disk3", "disk1"}, {"/", "/a", "/b", "/c"}},
             {0.25, {"disk1", "disk2", "disk3", "disk2"}, {"/", "/b", "/d", "/c"}},
             {0.5, {"disk1", "disk2", "disk3", "disk2"}, {"/", "/b", "/d", "/c", "/b"}}, // the first mounted there
             {1, {"disk1", "disk4", "disk3", "disk1"}, {"/", "/c", "/b"}},
         }) {
        machine.playUntil(row.until);
        std::vector<std::string> disks;
        for (const char* const path : {"/a", "/b", "/c", "/d"})
            disks.push_back(machine.fileSystem(path)->bsdName);
        EXPECT_EQ(disks, row.disks) << row.until;
        EXPECT_EQ(machine.mountPoints(), row.mountPoints) << row.until;
    }
    EXPECT_EQ(machine.fileSystem("/b/x")->size, 400U);
}

TEST(RecordedMachine, HasADriveWhileAllThatItStandsOnIsThere)
{
    Recording recording;
    recording.entries = {{1, "bridge", "", "IOService", {}, {}, {}},
                         {2, "port", "", "IOService", {}, {1}, {}},
                         {3, "drive", "", "IOBlockStorageDevice", {}, {2}, {{"Model", "A"}, {"Bay", 7}}},
                         {4, "other", "", "IOBlockStorageDevice", {}, {1}, {}}};
    recording.drives[3].identify = numbered(512);
    recording.drives[4].identify = numbered(512);
    const std::vector<RegistryEntry> again(recording.entries.begin() + 1, recording.entries.begin() + 3);
    recording.script = {{1, RecordedStep::Change{3, {{"Bay", nullptr}, {"Model", "B"}, {"Slot", 5}}}},
                        {2, RecordedStep::Removal{2}},
                        {3, RecordedStep::Arrival{again}},
                        {4, RecordedStep::Change{3, {{"Slot", 6}}}},
                        {5, RecordedStep::Removal{1}}};
    auto owned = std::make_unique<RecordedMachine>(std::move(recording), Playback::byHand);
    RecordedMachine& machine = *owned;
    install(std::move(owned));
    const auto properties = [] {
        const IOHandle entry(IOServiceGetMatchingService(kIOMasterPortDefault, IORegistryEntryIDMatching(3)));
        PropertyTableRef all;
        IORegistryEntryCreateCFProperties(entry.get(), all, nullptr, 0);
        return all ? *all : PropertyTable();
    };
    machine.playUntil(1);
    EXPECT_EQ(properties(), (PropertyTable{{"Model", "B"}, {"Slot", 5}}));
    const OpenedChannel<AtaChannel> opened = machine.openAta(3);
    const auto status = [&] { return opened.channel->execute({.command = 0xEC}).status; };
    EXPECT_EQ(status(), kIOReturnSuccess);
    machine.playUntil(2);
    EXPECT_EQ(status(), kIOReturnNoDevice);
    EXPECT_EQ(machine.openAta(4).status, kIOReturnSuccess);
    machine.playUntil(3);
    EXPECT_EQ(status(), kIOReturnSuccess) << "it is back";
    machine.playUntil(4);
    EXPECT_EQ(properties(), (PropertyTable{{"Model", "A"}, {"Bay", 7}, {"Slot", 6}})) << "as it came back";
    machine.playUntil(5);
    EXPECT_EQ(status(), kIOReturnNoDevice);
    EXPECT_EQ(machine.openAta(4).status, kIOReturnNoDevice);
}
