// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/TestEntries.h"
#include "support/TestMachine.h"
#include "system/registry/HandleTable.h"
#include "vantorel/system/DiskArbitration.h"
#include "vantorel/system/RunLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <future>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <thread>

using namespace vantorel;
using namespace vantorel::system;
using test::drive;
using test::entry;
using test::media;
using test::TestMachine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Notes what a session hears: "+disk0", "-disk0", "disk0: DAVolumeName".
class Ear {
public:
    Ear()
    {
        DARegisterDiskAppearedCallback(
            session, nullptr,
            [this](const DADiskRef& disk, void*) {
                arrived.push_back(disk);
                hear("+", disk);
            },
            this);
        DARegisterDiskDisappearedCallback(
            session, nullptr, [this](const DADiskRef& disk, void*) { hear("-", disk); }, this);
        DARegisterDiskDescriptionChangedCallback(
            session, nullptr, nullptr,
            [this](const DADiskRef& disk, const PropertyArray& keys, void*) {
                std::string line = *disk->bsdName + ":";
                for (const PropertyValue& key : keys)
                    line += " " + *key.text();
                heard.push_back(line);
            },
            this);
        DASessionScheduleWithRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    }
    ~Ear() { DASessionUnscheduleFromRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode); }
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;

    /// What was heard since the last time.
    std::vector<std::string> take()
    {
        performPendingWork();
        return std::exchange(heard, {});
    }

    std::vector<std::string> heard;
    std::vector<DADiskRef> arrived;                    ///< every disk, in order
    std::function<void(const std::string&)> whenHeard; ///< called with each arrival and removal
    DASessionRef session = DASessionCreate(kCFAllocatorDefault);

private:
    void hear(const std::string& mark, const DADiskRef& disk)
    {
        heard.push_back(mark + *DADiskGetBSDName(disk));
        if (whenHeard)
            whenHeard(heard.back());
    }
};

std::vector<RegistryEntry> driveWithPartitions()
{
    std::vector<RegistryEntry> entries = drive(1, "disk0");
    entries.push_back(media(4, "disk0s1", false, 3));
    entries.push_back(media(5, "disk0s2", false, 3));
    return entries;
}

} // namespace

TEST(DiskService, ReportsDisksThatExistWholeDisksBeforeTheirPartitions)
{
    TestMachine::install(driveWithPartitions());
    Ear ear;
    EXPECT_THAT(ear.heard, IsEmpty()) << "only from within the run loop";
    EXPECT_THAT(ear.take(), ElementsAre("+disk0", "+disk0s1", "+disk0s2"));
    Ear later;
    EXPECT_THAT(later.take(), ElementsAre("+disk0", "+disk0s1", "+disk0s2"));
    EXPECT_THAT(ear.take(), IsEmpty());
}

TEST(DiskService, TellsArrivalChangeAndRemovalInOrder)
{
    TestMachine& machine = TestMachine::install(driveWithPartitions());
    Ear ear;
    ear.take();
    machine.setVolume("disk0s1", {"hfs", "Data", std::nullopt, std::nullopt, {}});
    machine.setVolume("disk0s1", {"hfs", "Data", std::nullopt, std::nullopt, {}});
    machine.setVolume("disk0s1", {"hfs", std::nullopt, base::Uuid{{7}}, std::nullopt, {}});
    machine.arrive(media(6, "disk0s3", false, 3));
    machine.arrive(media(6, "disk0s3", false, 3));
    machine.change(2, {{"Statistics", PropertyTable{{"Bytes (Read)", 9}}}});
    machine.change(1, {{"Device Characteristics", PropertyTable{{"Product Name", "New"}}}});
    machine.remove(1);
    machine.remove(1);
    EXPECT_THAT(ear.take(), ElementsAre("disk0s1: DADeviceMountable DAVolumeKind DAVolumeMountable DAVolumeName",
                                        "disk0s1: DAVolumeName DAVolumeUUID", "+disk0s3", "disk0: DADeviceModel",
                                        "disk0s1: DADeviceModel", "disk0s2: DADeviceModel", "disk0s3: DADeviceModel",
                                        "-disk0s1", "-disk0s2", "-disk0s3", "-disk0"));
}

TEST(DiskService, ListsAnEntryOnlyWhileItIsADisk)
{
    TestMachine& machine = TestMachine::install();
    Ear ear;
    machine.arrive(media(4, "disk0s1", false, 3)); // its disk is not here yet
    EXPECT_THAT(ear.take(), IsEmpty());
    for (RegistryEntry& each : drive(1, "disk0"))
        machine.arrive(std::move(each));
    EXPECT_THAT(ear.take(), ElementsAre("+disk0", "+disk0s1"));
    machine.change(4, {{"Whole", false}});
    EXPECT_THAT(ear.take(), ElementsAre("-disk0s1")) << "without a device name it is no disk";
    machine.change(4, {{"Whole", false}, {"BSD Name", "disk0s9"}});
    EXPECT_THAT(ear.take(), ElementsAre("+disk0s9"));
    machine.change(4, {{"Whole", false}, {"BSD Name", "disk0s8"}});
    EXPECT_THAT(ear.take(), ElementsAre("-disk0s9", "+disk0s8")) << "under another name it is another disk";
}

TEST(DiskService, ShowsTheStateRightAfterTheEventToACallback)
{
    TestMachine& machine = TestMachine::install();
    Ear ear;
    std::vector<std::string> seen;
    ear.whenHeard = [&](const std::string& line) {
        const IOHandle found(IOServiceGetMatchingService(0, IORegistryEntryIDMatching(3)));
        seen.push_back(line + (found ? " is there" : " is not there"));
    };
    for (int turn = 0; turn < 2; ++turn) {
        for (RegistryEntry& each : drive(1, "disk0"))
            machine.arrive(std::move(each));
        machine.remove(1);
    }
    ear.take();
    EXPECT_THAT(seen, ElementsAre("+disk0 is there", "-disk0 is not there", "+disk0 is there", "-disk0 is not there"));
}

TEST(DiskService, AnswersForADiskThatIsGoneWithItsNameOnly)
{
    TestMachine& machine = TestMachine::install(drive(1, "disk0"));
    Ear ear;
    machine.change(3, {{"Whole", true}, {"BSD Name", "disk5"}}); // its entry is another disk,
    machine.change(3, {{"Whole", true}});                        // then none,
    machine.change(3, {{"Whole", true}, {"BSD Name", "disk0"}}); // then a third one, of the first one's name
    EXPECT_THAT(ear.take(), ElementsAre("+disk0", "-disk0", "+disk5", "-disk5", "+disk0"));
    machine.remove(1);
    for (RegistryEntry& each : drive(11, "disk0")) // and now one of its own
        machine.arrive(std::move(each));
    EXPECT_THAT(ear.take(), ElementsAre("-disk0", "+disk0"));

    const char* const names[] = {"disk0", "disk5", "disk0", "disk0"};
    ASSERT_EQ(ear.arrived.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(DADiskGetBSDName(ear.arrived[i]), names[i]);
        EXPECT_EQ(DADiskCopyDescription(ear.arrived[i]) != nullptr, i == 3) << i;
        EXPECT_EQ(static_cast<bool>(IOHandle(DADiskCopyIOMedia(ear.arrived[i]))), i == 3) << i;
    }
    EXPECT_EQ(liveHandleCount(), 0U);
}

TEST(DiskService, GivesTheFactsOfAVolumeToTheDiskThatHasItsName)
{
    // "F": facts are told; "+1", "-2": the partition with this id, which is always named disk0s1, comes or goes.
    struct Row {
        std::vector<std::string> events;
        std::optional<std::string> first, second; ///< the volume's name on either partition at the end, if it is there
    };
    const Row rows[] = {
        {{"Fa", "+1"}, "a", {}},
        {{"Fa", "Fb", "+1"}, "b", {}},
        {{"+1", "Fa"}, "a", {}},
        {{"+1", "Fa", "-1", "+2"}, {}, ""},
        {{"+1", "Fa", "-1", "Fb", "+2"}, {}, "b"},
        {{"+1", "Fa", "+2"}, "a", ""},
        {{"+1", "Fa", "+2", "Fb"}, "a", "b"},
        {{"+1", "Fa", "+2", "Fb", "-1"}, {}, "b"},
        {{"+1", "Fa", "+2", "Fb", "-2"}, "a", {}},
        {{"+1", "Fa", "+2", "Fb", "-2", "Fc"}, "c", {}},
        {{"+2", "+1", "Fa"}, "a", ""},
    };
    for (const Row& row : rows) {
        TestMachine& machine = TestMachine::install(drive(11, "disk0"));
        Ear ear;
        for (const std::string& event : row.events) {
            const std::uint64_t id = event[0] == 'F' ? 0 : static_cast<std::uint64_t>(event[1] - '0');
            if (event[0] == 'F')
                machine.setVolume("disk0s1", {"hfs", event.substr(1), std::nullopt, std::nullopt, {}});
            else if (event[0] == '+')
                machine.arrive(media(id, "disk0s1", false, 13));
            else
                machine.remove(id);
        }
        ear.take();
        std::array<std::optional<std::string>, 2> names;
        for (const DADiskRef& disk : ear.arrived) {
            const PropertyTableRef description = DADiskCopyDescription(disk);
            if (description && disk->entryId <= 2)
                names[disk->entryId - 1] = description->get<std::string>("DAVolumeName").value_or("");
        }
        EXPECT_EQ(names, (std::array{row.first, row.second})) << testing::PrintToString(row.events);
    }
}

TEST(DiskService, SaysNothingMoreOfTheDisksOfAMachineThatIsReplaced)
{
    // The set hangs under two drives and must not be told as changed between their ends.
    const auto machineWithMirror = [] {
        std::vector<RegistryEntry> entries = drive(1, "disk0");
        std::ranges::move(drive(11, "disk1"), std::back_inserter(entries));
        entries.push_back(entry(21, "set", "AppleRAIDMirrorSet", {3, 13}));
        entries.push_back(media(22, "disk2", true, 21));
        return entries;
    };
    TestMachine::install(machineWithMirror());
    Ear ear;
    EXPECT_THAT(ear.take(), ElementsAre("+disk0", "+disk2", "+disk1"));
    TestMachine& machine = TestMachine::install(machineWithMirror());
    EXPECT_THAT(ear.take(), ElementsAre("-disk2", "-disk0", "-disk1", "+disk0", "+disk1", "+disk2"));
    machine.remove(1);
    EXPECT_THAT(ear.take(), ElementsAre("-disk0", "disk2: DAMediaPath")) << "one of them alone";
}

TEST(DiskService, LosesNothingWhenACallbackThrows)
{
    TestMachine& machine = TestMachine::install(driveWithPartitions());
    Ear ear;
    ear.whenHeard = [](const std::string& line) {
        if (line == "+disk0" || line == "-disk0s1")
            throw std::runtime_error(line);
    };
    EXPECT_THROW(performPendingWork(), std::runtime_error);
    EXPECT_THAT(ear.take(), ElementsAre("+disk0", "+disk0s1", "+disk0s2"));
    machine.remove(1);
    EXPECT_THROW(performPendingWork(), std::runtime_error);
    EXPECT_THAT(ear.take(), ElementsAre("-disk0s1", "-disk0s2", "-disk0"));
}

TEST(DiskService, DeliversEventsOfAnotherThreadOnTheRunLoopsThread)
{
    TestMachine& machine = TestMachine::install();
    Ear ear;
    const std::thread::id here = std::this_thread::get_id();
    ear.whenHeard = [&](const std::string&) { EXPECT_EQ(std::this_thread::get_id(), here); };
    constexpr int count = 500;
    const std::jthread teller([&machine] {
        for (std::uint64_t i = 0; i < count; ++i) {
            for (RegistryEntry& each : drive(10 * i + 1, "disk" + std::to_string(i)))
                machine.arrive(std::move(each));
            machine.remove(10 * i + 1);
        }
    });
    while (ear.heard.size() < 2 * count)
        ASSERT_NE(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 20, true), CFRunLoopRunResult::timedOut);
    for (int i = 0; i < count; ++i) {
        const std::string name = "disk" + std::to_string(i);
        ASSERT_EQ(ear.heard[static_cast<std::size_t>(2 * i)], "+" + name);
        ASSERT_EQ(ear.heard[static_cast<std::size_t>(2 * i + 1)], "-" + name);
    }
}

TEST(DiskService, ServesASessionOnEachOfTwoRunLoops)
{
    TestMachine& machine = TestMachine::install(drive(1, "disk0"));
    Ear ear;
    ear.take();
    std::promise<void> isListening;
    std::vector<std::string> elsewhere;
    std::jthread other([&] {
        Ear its;
        elsewhere = its.take();
        isListening.set_value();
        while (its.heard.size() < 3)
            CFRunLoopRunInMode(kCFRunLoopDefaultMode, 20, true);
        elsewhere.insert(elsewhere.end(), its.heard.begin(), its.heard.end());
    });
    isListening.get_future().wait();
    machine.arrive(media(4, "disk0s1", false, 3));
    machine.remove(1);
    EXPECT_THAT(ear.take(), ElementsAre("+disk0s1", "-disk0s1", "-disk0"));
    other.join();
    EXPECT_THAT(elsewhere, ElementsAre("+disk0", "+disk0s1", "-disk0s1", "-disk0"));
}

TEST(DiskService, TakesUpWhatWaitsWhenTheLastSessionIsUnscheduled)
{
    TestMachine& machine = TestMachine::install();
    {
        const Ear ear;
        machine.arrive(entry(1, "late", "IOService", {}));
        EXPECT_FALSE(IOHandle(IOServiceGetMatchingService(0, IORegistryEntryIDMatching(1))));
    }
    EXPECT_TRUE(IOHandle(IOServiceGetMatchingService(0, IORegistryEntryIDMatching(1))));
    performPendingWork();
}
