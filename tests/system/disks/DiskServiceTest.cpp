// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/TestEntries.h"
#include "support/TestMachine.h"
#include "vantorel/system/DiskArbitration.h"
#include "vantorel/system/RunLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
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
            session, nullptr, [this](const DADiskRef& disk, void*) { hear("+", disk); }, this);
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
    machine.arrive(media(6, "disk0s3", false, 3));
    machine.arrive(media(6, "disk0s3", false, 3));
    machine.change(2, {{"Statistics", PropertyTable{{"Bytes (Read)", 9}}}});
    machine.change(1, {{"Device Characteristics", PropertyTable{{"Product Name", "New"}}}});
    machine.remove(1);
    machine.remove(1);
    EXPECT_THAT(ear.take(),
                ElementsAre("disk0s1: DADeviceMountable DAVolumeKind DAVolumeMountable DAVolumeName", "+disk0s3",
                            "disk0: DADeviceModel", "disk0s1: DADeviceModel", "disk0s2: DADeviceModel",
                            "disk0s3: DADeviceModel", "-disk0s1", "-disk0s2", "-disk0s3", "-disk0"));
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
    DADiskRef disk;
    Ear ear;
    DARegisterDiskAppearedCallback(
        ear.session, nullptr, [&](const DADiskRef& each, void*) { disk = each; }, nullptr);
    ear.take();
    ASSERT_TRUE(disk);
    EXPECT_TRUE(IOHandle(DADiskCopyIOMedia(disk)));
    machine.remove(1);
    ear.take();
    for (RegistryEntry& each : drive(11, "disk0")) // another disk of the same name
        machine.arrive(std::move(each));
    ear.take();
    EXPECT_EQ(DADiskGetBSDName(disk), "disk0");
    EXPECT_EQ(disk->entryId, 13U) << "the callback has given the new one";
    const auto old = std::make_shared<const DADisk>(DADisk{"disk0", 3});
    EXPECT_EQ(DADiskCopyDescription(old), nullptr);
    EXPECT_FALSE(IOHandle(DADiskCopyIOMedia(old)));
    EXPECT_EQ(liveHandleCount(), 0U);
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
