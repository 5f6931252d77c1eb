// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/IORegistry.h"
#include "support/TestEntries.h"
#include "support/TestMachine.h"
#include "system/CallGate.h"
#include "system/registry/HandleTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <thread>

using namespace vantorel;
using namespace vantorel::system;
using test::entry;
using test::TestMachine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

IOHandle byId(std::uint64_t id)
{
    return IOHandle(IOServiceGetMatchingService(kIOMasterPortDefault, IORegistryEntryIDMatching(id)));
}

std::uint64_t idOf(io_registry_entry_t handle)
{
    std::uint64_t id = 0;
    return IORegistryEntryGetRegistryEntryID(handle, id) == KERN_SUCCESS ? id : 0;
}

std::uint64_t parentOf(std::uint64_t id)
{
    IOHandle parent;
    const kern_return_t status = IORegistryEntryGetParentEntry(byId(id).get(), kIOServicePlane, parent.receive());
    return status == KERN_SUCCESS ? idOf(parent.get()) : 0;
}

std::vector<std::uint64_t> childrenOf(std::uint64_t id)
{
    std::vector<std::uint64_t> children;
    IOHandle iterator;
    if (IORegistryEntryGetChildIterator(byId(id).get(), kIOServicePlane, iterator.receive()) != KERN_SUCCESS)
        return children;
    while (const IOHandle child{IOIteratorNext(iterator.get())})
        children.push_back(idOf(child.get()));
    return children;
}

std::vector<RegistryEntry> smallTree()
{
    return {entry(1, "Root", "IORegistryEntry", {}, {{"OS Build Version", "20B29"}}),
            entry(2, "controller", "AppleAHCI", {1}, {{"SMART Capable", true}, {"Model", "A"}}, "1F,2"),
            entry(3, "disk", "IOMedia", {2}), entry(4, "port", "AppleAHCIPort", {2})};
}

} // namespace

TEST(IORegistry, AnswersForEntriesInTheMachinesTree)
{
    TestMachine::install(smallTree());
    EXPECT_EQ(parentOf(3), 2U);
    EXPECT_THAT(childrenOf(2), ElementsAre(3, 4));
    EXPECT_EQ(idOf(IOHandle(IORegistryGetRootEntry(kIOMasterPortDefault)).get()), 1U);

    const IOHandle controller = byId(2);
    PropertyTableRef properties;
    ASSERT_EQ(IORegistryEntryCreateCFProperties(controller.get(), properties, kCFAllocatorDefault, 0), KERN_SUCCESS);
    EXPECT_EQ(properties->get<std::string>("Model"), "A");
    EXPECT_EQ(IORegistryEntryCreateCFProperty(controller.get(), "SMART Capable", nullptr, 0), PropertyValue(true));
    EXPECT_EQ(IORegistryEntryCreateCFProperty(controller.get(), "smart capable", nullptr, 0), std::nullopt);
    std::string text;
    EXPECT_EQ(IORegistryEntryGetName(controller.get(), text), KERN_SUCCESS);
    EXPECT_EQ(text, "controller");
    EXPECT_EQ(IORegistryEntryGetLocationInPlane(controller.get(), kIOServicePlane, text), KERN_SUCCESS);
    EXPECT_EQ(text, "1F,2");
    EXPECT_EQ(IOObjectGetClass(controller.get(), text), KERN_SUCCESS);
    EXPECT_EQ(text, "AppleAHCI");
    EXPECT_EQ(idOf(IOHandle(IOServiceGetMatchingService(0, IOServiceMatching("AppleAHCI"))).get()), 2U);
    EXPECT_FALSE(IOHandle(IOServiceGetMatchingService(0, PropertyTable{})));
    EXPECT_FALSE(IOHandle(IOServiceGetMatchingService(0, PropertyTable{{"no such condition", 1}})));
}

TEST(IORegistry, GivesTheStatusesOfThePlatformForWhatCannotBe)
{
    TestMachine::install(smallTree());
    const IOHandle root(IORegistryGetRootEntry(kIOMasterPortDefault));
    io_object_t result = 77;
    EXPECT_EQ(IORegistryEntryGetParentEntry(root.get(), kIOServicePlane, result), kIOReturnNoDevice);
    EXPECT_EQ(result, IO_OBJECT_NULL);
    EXPECT_EQ(IORegistryEntryGetParentEntry(root.get(), "IOUSB", result), kIOReturnBadArgument);
    for (const io_object_t wrong : {io_object_t{0}, io_object_t{1234}, ~io_object_t{0}}) {
        PropertyTableRef properties;
        EXPECT_EQ(IORegistryEntryCreateCFProperties(wrong, properties, nullptr, 0), kIOReturnBadArgument);
        EXPECT_EQ(properties, nullptr);
        EXPECT_EQ(IORegistryEntryGetChildIterator(wrong, kIOServicePlane, result), kIOReturnBadArgument);
        EXPECT_EQ(IOIteratorNext(wrong), IO_OBJECT_NULL);
        EXPECT_EQ(IOObjectRelease(wrong), kIOReturnBadArgument);
        EXPECT_EQ(IOObjectRetain(wrong), kIOReturnBadArgument);
    }
    EXPECT_EQ(IOIteratorNext(root.get()), IO_OBJECT_NULL) << "an entry is no iterator";
}

TEST(IORegistry, CountsHandlesAndTellsAnEndedOneFromItsSuccessor)
{
    TestMachine::install(smallTree());
    ASSERT_EQ(liveHandleCount(), 0U);
    const io_object_t first = byId(2).release();
    EXPECT_EQ(IOObjectRetain(first), KERN_SUCCESS);
    EXPECT_EQ(IOObjectRelease(first), KERN_SUCCESS);
    EXPECT_EQ(idOf(first), 2U);
    EXPECT_EQ(IOObjectRelease(first), KERN_SUCCESS);
    EXPECT_EQ(liveHandleCount(), 0U);
    const IOHandle second = byId(3);
    EXPECT_NE(second.get(), first);
    EXPECT_EQ(idOf(first), 0U);
    EXPECT_EQ(IOObjectRelease(first), kIOReturnBadArgument);
    EXPECT_EQ(idOf(second.get()), 3U);
}

TEST(IORegistry, KeepsAHandleOfAnEntryThatIsGone)
{
    TestMachine& machine = TestMachine::install(smallTree());
    const IOHandle controller = byId(2);
    IOHandle iterator;
    ASSERT_EQ(IORegistryEntryGetChildIterator(controller.get(), kIOServicePlane, iterator.receive()), KERN_SUCCESS);
    machine.remove(2);
    EXPECT_FALSE(byId(2));
    EXPECT_FALSE(byId(3)) << "what hung under it is gone with it";
    EXPECT_EQ(idOf(controller.get()), 2U);
    EXPECT_EQ(IORegistryEntryCreateCFProperty(controller.get(), "Model", nullptr, 0), PropertyValue("A"));
    io_object_t none = 1;
    EXPECT_EQ(IORegistryEntryGetParentEntry(controller.get(), kIOServicePlane, none), kIOReturnNoDevice);
    EXPECT_EQ(IORegistryEntryGetChildIterator(controller.get(), kIOServicePlane, none), kIOReturnNoDevice);
    EXPECT_EQ(IOIteratorNext(iterator.get()), IO_OBJECT_NULL);
}

TEST(IORegistry, HangsAnEntryUnderEachOfItsParents)
{
    TestMachine& machine = TestMachine::install(
        {entry(10, "member a", "AppleRAIDMember", {}), entry(11, "member b", "AppleRAIDMember", {}),
         entry(12, "set", "AppleRAIDMirrorSet", {10, 11, 10}), entry(13, "set media", "IOMedia", {12})});
    EXPECT_THAT(childrenOf(10), ElementsAre(12));
    EXPECT_THAT(childrenOf(11), ElementsAre(12));
    EXPECT_EQ(parentOf(12), 10U);
    machine.remove(10);
    EXPECT_EQ(parentOf(12), 11U) << "the set lives on under the other member";
    EXPECT_TRUE(byId(13));
    machine.remove(11);
    EXPECT_FALSE(byId(12));
    EXPECT_FALSE(byId(13));
}

TEST(IORegistry, OrdersParentsAndChildrenAsTheyWereToldNotAsTheyCame)
{
    TestMachine& machine = TestMachine::install({entry(11, "right", "AppleRAIDMember", {})});
    machine.arrive(entry(30, "set", "AppleRAIDMirrorSet", {10, 11, 12}));
    machine.arrive(entry(20, "other", "IOMedia", {12}));
    machine.arrive(entry(11, "right", "AppleRAIDMember", {})); // told twice
    EXPECT_EQ(parentOf(30), 11U) << "the only one that is here";
    machine.arrive(entry(12, "third", "AppleRAIDMember", {}));
    EXPECT_EQ(parentOf(30), 11U);
    EXPECT_THAT(childrenOf(12), ElementsAre(30, 20));
    machine.arrive(entry(10, "left", "AppleRAIDMember", {}));
    EXPECT_EQ(parentOf(30), 10U);
    machine.remove(10);
    EXPECT_EQ(parentOf(30), 11U);
    machine.remove(11);
    EXPECT_EQ(parentOf(30), 12U);
}

TEST(IORegistry, AsksTheMachineForPropertiesThatChangeWithoutBeingTold)
{
    TestMachine& machine = TestMachine::install(smallTree());
    const IOHandle controller = byId(2);
    const auto told = [&] {
        PropertyTableRef properties;
        EXPECT_EQ(IORegistryEntryCreateCFProperties(controller.get(), properties, nullptr, 0), KERN_SUCCESS);
        EXPECT_EQ(IORegistryEntryCreateCFProperty(controller.get(), "Model", nullptr, 0), properties->at("Model"));
        return *properties;
    };
    machine.current[2] = {{"Model", "B"}, {"Reads", 3}};
    EXPECT_EQ(told(), (PropertyTable{{"SMART Capable", true}, {"Model", "B"}, {"Reads", 3}}));
    machine.current[2] = {{"Reads", 4}};
    EXPECT_EQ(told(), (PropertyTable{{"SMART Capable", true}, {"Model", "A"}, {"Reads", 4}}));
    machine.remove(2);
    EXPECT_EQ(told(), (PropertyTable{{"SMART Capable", true}, {"Model", "A"}})) << "it is gone";
}

TEST(IORegistry, TakesEventsInAnyOrder)
{
    TestMachine& machine = TestMachine::install();
    machine.arrive(entry(3, "leaf", "IOMedia", {2}));
    EXPECT_EQ(parentOf(3), 0U) << "waits at the top, whose id is 0 on this machine";
    machine.arrive(entry(2, "middle", "IOService", {1}));
    machine.arrive(entry(1, "first", "IOService", {}));
    EXPECT_EQ(parentOf(3), 2U);
    EXPECT_EQ(parentOf(2), 1U);
    machine.arrive(entry(3, "leaf", "IOMedia", {2}, {{"Size", 7}}));
    EXPECT_EQ(IORegistryEntryCreateCFProperty(byId(3).get(), "Size", nullptr, 0), PropertyValue(7));
    EXPECT_THAT(childrenOf(2), ElementsAre(3)) << "told twice, there once";
    machine.change(99, {});
    machine.remove(99);
    machine.remove(2);
    machine.remove(2);
    EXPECT_FALSE(byId(3));
    EXPECT_TRUE(byId(1));
}

TEST(IORegistry, NeverMakesAnEntryItsOwnAncestor)
{
    TestMachine& machine = TestMachine::install();
    machine.arrive(entry(1, "a", "IOService", {2, 1}));
    machine.arrive(entry(2, "b", "IOService", {3}));
    machine.arrive(entry(3, "c", "IOService", {1}));
    for (std::uint64_t id = 1; id <= 3; ++id) {
        std::uint64_t step = id;
        for (int levels = 0; step != 0; ++levels, step = parentOf(step))
            ASSERT_LT(levels, 4);
    }
    machine.remove(1);
    machine.remove(2);
    machine.remove(3);
    EXPECT_EQ(liveHandleCount(), 0U);
}

TEST(IORegistry, TakesInAHundredThousandEntriesAndLetsThemGo)
{
    constexpr std::uint64_t count = 100'000;
    TestMachine& machine = TestMachine::install();
    for (std::uint64_t id = 1; id <= count; ++id) { // one under the other, and a disk now and then, as each asks far up
        const bool isDisk = id % 500 == 0;
        machine.arrive(entry(id, "link", isDisk ? "IOMedia" : "IOService", {id - 1},
                             isDisk ? PropertyTable{{"BSD Name", "disk0"}} : PropertyTable{}));
    }
    EXPECT_EQ(parentOf(count), count - 1);
    machine.remove(1);
    EXPECT_FALSE(byId(count));
}

TEST(IORegistry, ReplacesTheTreeWithTheMachine)
{
    TestMachine::install(smallTree());
    const IOHandle old = byId(3);
    TestMachine::install({entry(7, "other", "IOService", {})});
    EXPECT_FALSE(byId(3));
    EXPECT_EQ(idOf(old.get()), 3U);
    EXPECT_THAT(childrenOf(7), IsEmpty());
    EXPECT_EQ(idOf(IOHandle(IORegistryGetRootEntry(0)).get()), 0U) << "the new machine has told no root of its own";
}

TEST(IORegistry, FailsEachCallThatTheGateRefuses)
{
    TestMachine::install(smallTree());
    std::set<std::string, std::less<>> asked;
    int refused = 0; // of all calls, the one with this number
    for (bool done = false; !done; ++refused) {
        int call = 0;
        setCallGate([&](std::string_view operation) {
            asked.emplace(operation);
            return call++ != refused;
        });
        parentOf(3);
        childrenOf(2);
        static_cast<void>(IORegistryEntryCreateCFProperty(byId(2).get(), "Model", nullptr, 0));
        setCallGate(nullptr);
        done = call <= refused;
        ASSERT_EQ(liveHandleCount(), 0U) << "call " << refused << " refused";
    }
    EXPECT_EQ(refused, 13) << "twelve calls, and one round in which all were made";
    EXPECT_TRUE(asked.contains("IORegistryEntryGetChildIterator") && asked.contains("IOIteratorNext"));
}

TEST(IORegistry, ServesManyThreadsWhileTheTreeChanges)
{
    TestMachine& machine = TestMachine::install(smallTree());
    std::vector<std::jthread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back([] {
            for (int turn = 0; turn < 2000; ++turn) {
                childrenOf(2);
                parentOf(50);
            }
        });
    for (int turn = 0; turn < 2000; ++turn) {
        machine.arrive(entry(50, "comes", "IOMedia", {2}, {{"turn", turn}}));
        machine.change(2, {{"turn", turn}});
        machine.remove(50);
    }
    readers.clear();
    EXPECT_EQ(liveHandleCount(), 0U);
}
