// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/Vantorel.h"
#include "support/RegistryFixture.h"
#include "system/CallGate.h"
#include "vantorel/disks/AppleStorage.h"
#include "vantorel/disks/CoreStorage.h"
#include "vantorel/disks/DiskImage.h"
#include "vantorel/system/NotificationCenter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <future>
#include <map>
#include <stdexcept>
#include <thread>

using namespace vantorel;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The id of the entry of a device name.
std::uint64_t entryOf(const test::DiskTree& tree, std::string_view bsdName)
{
    const auto found = std::find_if(tree.entries.begin(), tree.entries.end(), [bsdName](const auto& entry) {
        return entry.properties.template get<std::string>("BSD Name") == bsdName;
    });
    return found == tree.entries.end() ? 0 : found->id;
}

/// Does something of the test's when it is told.
class ActingListener : public DiskListener {
public:
    explicit ActingListener(std::function<void()> action) : action_(std::move(action)) {}
    void diskChanged(const std::shared_ptr<Disk>& /*disk*/, DiskEvent /*event*/) override { action_(); }

private:
    std::function<void()> action_;
};

void post(const char* name, std::any object = {})
{
    system::NotificationCenter::defaultCenter().postNotificationName(name, std::move(object));
}

} // namespace

using VantorelTest = test::RegistryFixture;

TEST_F(VantorelTest, BuildsEveryDiskInItsClassAndSortsThemByUnit)
{
    auto tree = test::oneOfEverything();
    tree.media(tree.driver("AppleAHCI", "Late"), "disk10", "Late Media");
    load(std::move(tree));
    auto& registry = Vantorel::shared();
    EXPECT_EQ(names(registry.disks()), "disk0 disk0s1 disk0s2 disk1 disk1s1 disk1s2 disk2 disk2s2 disk3 disk4 disk4s2 "
                                       "disk5 disk5s2 disk6 disk7 disk7s1 disk10");
    EXPECT_EQ(names(registry.drives()), "disk0 disk2 disk4 disk5 disk10");
    EXPECT_EQ(names(registry.volumes()), "disk0s1 disk0s2 disk1s1 disk1s2 disk3 disk4s2 disk5s2 disk7 disk7s1")
        << "without the container, the RAID set and the physical volume under CoreStorage";
    EXPECT_TRUE(tracked<AppleStorage>("disk1") && tracked<CoreStorage>("disk3") && tracked<RaidStorage>("disk6"));
    EXPECT_TRUE(tracked<DiskImage>("disk7")) << "whole disk of an image";
    EXPECT_EQ(tracked<Volume>("disk7s1")->diskType(), Disk::DiskType::volume) << "a partition of an image";
    EXPECT_THAT(messages, IsEmpty());

    EXPECT_EQ(registry.getDrive("disk2"), tracked("disk2"));
    EXPECT_FALSE(registry.getDrive("disk2s2"));
    EXPECT_EQ(registry.getVolume("disk3"), tracked("disk3"));
    EXPECT_FALSE(registry.getVolume("disk2s2")) << "hidden by the logical volume on it";
}

TEST_F(VantorelTest, LinksLogicalStorageToWhatIsUnderIt)
{
    load(test::oneOfEverything());
    const auto container = tracked<AppleStorage>("disk1");
    const auto store = tracked<Volume>("disk0s2");
    EXPECT_EQ(container->bsdVolume(), store);
    EXPECT_EQ(store->apfsMedia(), container);
    EXPECT_EQ(names(container->logicalVolumes()), "disk1s1 disk1s2");
    EXPECT_EQ(tracked<Volume>("disk1s2")->volumeKind(), Disk::VolumeKind::apfs);
    EXPECT_EQ(tracked<CoreStorage>("disk3")->logicalVolume(), tracked("disk2s2"));
    EXPECT_EQ(tracked<Volume>("disk2s2")->coreStorageVolume(), tracked("disk3"));
}

TEST_F(VantorelTest, ListsTheVolumesOfADriveByOriginAndARaidSetForItsMembers)
{
    load(test::oneOfEverything());
    auto& registry = Vantorel::shared();
    const std::pair<const char*, const char*> expected[] = {
        {"disk0", "disk1s1 disk1s2 disk0s1 disk0s2"}, {"disk2", "disk3"}, {"disk4", "disk6"}, {"disk5", "disk6"}};
    for (const auto& [drive, volumes] : expected)
        EXPECT_EQ(names(registry.getVolumes(*registry.getDrive(drive))), volumes) << drive;
    EXPECT_THAT(messages, IsEmpty());

    auto listed = registry.disks();
    std::erase(listed, tracked("disk6"));
    registry.setDisks(listed);
    EXPECT_EQ(names(registry.getVolumes(*registry.getDrive("disk4"))), "disk4s2") << "no tracked set holds the member";
}

TEST_F(VantorelTest, ListsASetTwiceForTwoMembersOnOneDrive)
{
    test::DiskTree tree;
    const auto drive = tree.drive("disk0", "X");
    const auto first = tree.media(drive, "disk0s1", "a");
    const auto second = tree.media(drive, "disk0s2", "b");
    tree.media(drive, "disk0s3", "c");
    tree.raidSet({{first, test::memberUuidA}, {second, test::memberUuidB}, {second, test::memberUuidB}}, "disk1",
                 "Set");
    const auto set = tree.entries.back().id;
    auto& machine = load(std::move(tree));
    EXPECT_EQ(names(Vantorel::shared().getVolumes(*tracked<Drive>("disk0"))), "disk0s3 disk1 disk1");
    machine.remove(set);
    settle();
    EXPECT_EQ(names(Vantorel::shared().getVolumes(*tracked<Drive>("disk0"))), "disk0s1 disk0s2 disk0s3");
}

TEST_F(VantorelTest, ClassifiesInOrderAndLeavesOutWhatItCannotRead)
{
    struct Row {
        const char* bsdName;
        PropertyTable properties;
        const char* name;
        std::optional<Disk::DiskType> type;
    };
    const Row rows[] = {
        {"disk1s1", {{"CoreStorage", true}}, "AppleAPFSMedia", Disk::DiskType::corestorage},
        {"disk1s2", {{"CoreStorage", false}, {"RAID", true}}, "AppleAPFSMedia", Disk::DiskType::applestorage},
        {"disk2", {{"RAID", true}}, "Set", Disk::DiskType::raid},
        {"disk3", {{"RAID", false}}, "Set", Disk::DiskType::drive},
        {"disk4", {{"RAID", 1}, {"CoreStorage", "Yes"}}, "appleapfsmedia", Disk::DiskType::drive},
        {"disk5s1", {}, "Data", Disk::DiskType::volume},
        {"disk6", {{"Whole", "Yes"}}, "Data", std::nullopt},
    };
    test::DiskTree tree;
    const auto drive = tree.drive("disk0", "X");
    for (const Row& row : rows)
        tree.media(drive, row.bsdName, row.name, row.properties);
    load(std::move(tree));
    for (const Row& row : rows) {
        const auto disk = tracked(row.bsdName);
        EXPECT_EQ(disk ? std::optional(disk->diskType()) : std::nullopt, row.type) << row.bsdName;
    }
    EXPECT_THAT(messages, IsEmpty()) << "a disk left out costs no message";
}

TEST_F(VantorelTest, LinksOnlyWhenTheLaterPartnerArrives)
{
    test::DiskTree tree;
    const auto drive = tree.drive("disk0", "X");
    const auto store = tree.media(drive, "disk0s1", "Container", {{"UUID", test::storeUuid}});
    const auto container = tree.container(store, "disk1", test::containerUuid);
    tree.apfsVolume(container, "disk1s1", "Early");
    auto& machine = load(tree);
    auto& registry = Vantorel::shared();

    auto listed = registry.disks();
    const auto early = tracked<AppleStorage>("disk1");
    std::erase(listed, early);
    registry.setDisks(listed);
    auto later = tree;
    later.apfsVolume(container, "disk1s2", "Late");
    machine.arrive(later.entries.back());
    settle();
    EXPECT_EQ(tracked<Volume>("disk1s2")->volumeKind(), Disk::VolumeKind::unknown) << "its container is not there";
    EXPECT_EQ(names(early->logicalVolumes()), "disk1s1") << "a container that is not tracked takes no volume";
}

TEST_F(VantorelTest, CountsOnlyTheFirstContainerOfADrive)
{
    test::DiskTree tree;
    const auto drive = tree.drive("disk0", "X");
    const char* const uuids[] = {test::storeUuid, test::containerUuid, test::physicalUuid, test::memberUuidA};
    for (int i = 0; i < 2; ++i) {
        const std::string number = std::to_string(i + 1);
        const auto store = tree.media(drive, "disk0s" + number, "Container", {{"UUID", uuids[i]}});
        tree.apfsVolume(tree.container(store, "disk" + number, uuids[2 + i]), "disk" + number + "s1", "Data");
    }
    load(std::move(tree));
    EXPECT_EQ(names(tracked<AppleStorage>("disk2")->logicalVolumes()), "disk2s1");
    EXPECT_EQ(names(Vantorel::shared().getVolumes(*tracked<Drive>("disk0"))), "disk1s1 disk0s1 disk0s2");
}

TEST_F(VantorelTest, PutsVolumesOfEveryKindIntoTheContainerAboveThemAndNoOthers)
{
    test::DiskTree tree;
    const auto drive = tree.drive("disk0", "X");
    const auto store = tree.media(drive, "disk0s1", "Container", {{"UUID", test::storeUuid}});
    const auto container = tree.container(store, "disk1", test::containerUuid);
    tree.media(container, "disk2", "Logical", {{"CoreStorage", true}});
    tree.media(container, "disk3", "Whole");
    const auto inner = tree.apfsVolume(container, "disk1s1", "Data");
    tree.container(inner, "disk4", test::physicalUuid); // two levels above it are a scheme and a volume
    const auto other = tree.add({container}, "Other", "Other", {{"UUID", "no UUID"}});
    tree.media(other, "disk1s2", "Two levels below the container's entry, which has its UUID");
    tree.media(tree.add({other}, "Other", "Other"), "disk1s3", "Two levels below none");
    load(std::move(tree));
    EXPECT_EQ(names(tracked<AppleStorage>("disk1")->logicalVolumes()), "disk2 disk1s1 disk1s2");
    EXPECT_EQ(tracked<CoreStorage>("disk2")->volumeKind(), Disk::VolumeKind::apfs);
    EXPECT_EQ(tracked<Volume>("disk0s1")->volumeKind(), Disk::VolumeKind::unknown);
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(VantorelTest, ComparesAbsentIdentifiersAsEqual)
{
    test::DiskTree tree;
    const auto drive = tree.drive("disk0", "X");
    tree.media(drive, "disk0s1", "no UUID");
    tree.media(drive, "disk0s2", "no UUID either");
    tree.media(drive, "disk1", "logical", {{"CoreStorage", true}});
    load(std::move(tree));
    EXPECT_EQ(tracked<CoreStorage>("disk1")->logicalVolume(), tracked("disk0s2")) << "the last match stays";
    EXPECT_EQ(tracked<Volume>("disk0s1")->coreStorageVolume(), tracked("disk1"));
    EXPECT_EQ(names(Vantorel::shared().volumes()), "disk1");
}

TEST_F(VantorelTest, TellsArrivalChangeAndRemovalInOrder)
{
    const auto tree = test::oneOfEverything();
    const auto listener = std::make_shared<test::NotingListener>();
    Vantorel::shared().registerListener(listener);
    Vantorel::shared().registerListener(listener);
    auto& machine = load(tree);
    ASSERT_EQ(listener->told.size(), 32U) << "a listener registered twice is told twice";
    EXPECT_EQ(listener->told[0], "appeared disk0");
    EXPECT_EQ(listener->told[31], "appeared disk7s1");
    EXPECT_EQ(listener->last, tracked("disk7s1"));

    listener->told.clear();
    const auto store = tracked<Volume>("disk0s2");
    const auto container = tracked<AppleStorage>("disk1");
    const auto volume = tracked<Volume>("disk1s2");
    machine.setVolume("disk1s2", {"apfs", "Swap", std::nullopt, std::nullopt, {}});
    settle();
    EXPECT_THAT(listener->told, ElementsAre("updated disk1s2", "updated disk1s2"));
    EXPECT_EQ(volume->volumeName(), "Swap") << "the tracked object is loaded anew";
    EXPECT_EQ(volume->volumeKind(), Disk::VolumeKind::apfs);
    EXPECT_NE(listener->last, volume) << "listeners are told a fresh object";
    EXPECT_EQ(std::dynamic_pointer_cast<Volume>(listener->last)->volumeKind(), Disk::VolumeKind::unknown);

    listener->told.clear();
    machine.remove(entryOf(tree, "disk1s2"));
    machine.remove(entryOf(tree, "disk1"));
    settle();
    EXPECT_THAT(listener->told, ElementsAre("disappeared disk1s2", "disappeared disk1s2", "disappeared disk1s1",
                                            "disappeared disk1s1", "disappeared disk1", "disappeared disk1"));
    EXPECT_EQ(listener->last, container);
    EXPECT_EQ(store->apfsMedia(), container) << "no link is cleared";
    EXPECT_EQ(names(container->logicalVolumes()), "disk1s1 disk1s2");
    EXPECT_FALSE(Vantorel::shared().getVolume("disk1s2"));
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(VantorelTest, TellsWhenTheListHasChanged)
{
    std::vector<std::string> lists;
    Vantorel::shared().registerListener(
        std::make_shared<ActingListener>([&] { lists.push_back(names(Vantorel::shared().disks())); }));
    test::DiskTree tree;
    const auto partition = tree.media(tree.drive("disk0", "X"), "disk0s1", "p");
    auto& machine = load(std::move(tree));
    machine.setVolume("disk0s1", {"hfs", "New", std::nullopt, std::nullopt, {}});
    machine.remove(partition);
    settle();
    EXPECT_THAT(lists, ElementsAre("disk0", "disk0 disk0s1", "disk0 disk0s1", "disk0"));
}

TEST_F(VantorelTest, TellsArrivalsOnTheMainThreadAndTheRestOnTheThreadOfItsRunLoop)
{
    std::map<std::string, std::thread::id> threads;
    system::CFRunLoopRef itsLoop;
    std::promise<void> started;
    std::promise<void> gone;
    std::atomic<bool> done = false;
    std::thread owner([&] {
        Vantorel::shared().registerListener(std::make_shared<ActingListener>([&] {
            threads.emplace(threads.empty() ? "arrival" : "removal", std::this_thread::get_id());
            system::CFRunLoopStop(system::CFRunLoopGetCurrent());
            if (threads.size() == 2)
                gone.set_value();
        }));
        itsLoop = system::CFRunLoopGetCurrent();
        started.set_value();
        while (!done)
            system::CFRunLoopRunInMode(system::kCFRunLoopDefaultMode, 20, true);
    });
    started.get_future().wait();
    test::DiskTree tree;
    const auto drive = tree.drive("disk0", "X");
    auto& machine = test::TestMachine::install(std::move(tree.entries));
    while (threads.empty())
        system::CFRunLoopRunInMode(system::kCFRunLoopDefaultMode, 20, false);
    machine.remove(drive);
    gone.get_future().wait();
    done = true;
    system::CFRunLoopStop(itsLoop);
    const auto ownersId = owner.get_id();
    owner.join();
    EXPECT_EQ(threads["arrival"], std::this_thread::get_id());
    EXPECT_EQ(threads["removal"], ownersId);
}

TEST_F(VantorelTest, TellsEveryListenerOverASnapshotWhateverTheOthersDo)
{
    auto& registry = Vantorel::shared();
    const auto late = std::make_shared<test::NotingListener>();
    const auto last = std::make_shared<test::NotingListener>();
    int calls = 0;
    registry.registerListener(std::make_shared<ActingListener>([&] {
        if (calls++ == 0)
            registry.registerListener(late);
        registry.setDisks({registry.disks().rbegin(), registry.disks().rend()});
    }));
    registry.registerListener(std::make_shared<ActingListener>([] { throw std::runtime_error("out of ideas"); }));
    registry.registerListener(std::make_shared<ActingListener>([] { throw 5; }));
    registry.registerListener(nullptr);
    registry.registerListener(last);

    test::DiskTree tree;
    tree.media(tree.drive("disk0", "X"), "disk0s1", "p");
    load(std::move(tree));
    EXPECT_THAT(last->told, ElementsAre("appeared disk0", "appeared disk0s1"));
    EXPECT_THAT(late->told, ElementsAre("appeared disk0s1")) << "from the next event on";
    EXPECT_THAT(messages, ElementsAre("Error: Disk listener failed: out of ideas", "Error: Disk listener failed",
                                      "Error: Disk listener failed: out of ideas", "Error: Disk listener failed"));
}

TEST_F(VantorelTest, SaysWhatIsWrongWithAnEvent)
{
    const auto listener = std::make_shared<test::NotingListener>();
    load(test::oneOfEverything());
    Vantorel::shared().registerListener(listener);
    const auto unknown = [](const char* name) {
        auto disk = std::make_shared<system::DADisk>();
        if (name)
            disk->bsdName = name;
        return system::DADiskRef(disk);
    };
    const std::tuple<const char*, std::any, std::vector<std::string>> events[] = {
        {"diskAppeared", {}, {}},
        {"diskAppeared", std::string("disk0"), {}},
        {"diskAppeared", unknown("disk0"), {"Unable to retrieve disk info", "Unable to retrieve disk object"}},
        {"diskDisappeared", {}, {"Error: Disk disappeared but was not found"}},
        {"diskDisappeared", unknown(nullptr), {"Error: Disk disappeared but unable to get BSD name"}},
        {"diskDisappeared", unknown("disk99"), {"Error: Disk disappeared but was not found in current list"}},
        {"diskUpdated", {}, {"Error: Disk updated but was not found"}},
        {"diskUpdated",
         unknown("disk0"),
         {"Unable to retrieve disk info", "Unable to retrieve disk object",
          "Error: Disk updated but could not be created"}},
    };
    const std::string before = names(Vantorel::shared().disks());
    for (const auto& [name, object, lines] : events) {
        messages.clear();
        post(name, object);
        settle();
        EXPECT_EQ(messages, lines) << name;
    }
    EXPECT_THAT(listener->told, IsEmpty());
    EXPECT_EQ(names(Vantorel::shared().disks()), before);

    messages.clear();
    const auto untracked = tracked("disk0s1");
    auto listed = Vantorel::shared().disks();
    std::erase(listed, untracked);
    Vantorel::shared().setDisks(listed);
    post("diskUpdated", untracked->diskObject());
    EXPECT_THAT(messages, ElementsAre("Error: Tried to update disk, but was not found"));
    EXPECT_THAT(listener->told, ElementsAre("updated disk0s1")) << "told all the same";
}

TEST_F(VantorelTest, SortsAgainWhenTheHostOrAnUpdateBrokeTheOrder)
{
    auto tree = test::oneOfEverything();
    auto& machine = load(tree);
    auto& registry = Vantorel::shared();
    registry.setDisks({registry.disks().rbegin(), registry.disks().rend()});
    EXPECT_EQ(registry.disks().front()->bsdName(), "disk7s1") << "kept as given until the next arrival";
    const auto arrive = [&](const char* name) {
        tree.add({entryOf(tree, "disk0")}, "IOMedia", name, {{"BSD Name", name}, {"Whole", false}, {"Size", 5}});
        machine.arrive(tree.entries.back());
        settle();
    };
    arrive("odd");
    const auto sorted = [&] {
        return std::is_sorted(registry.disks().begin(), registry.disks().end(), [](const auto& a, const auto& b) {
            return a->bsdUnit().value_or(-1) < b->bsdUnit().value_or(-1);
        });
    };
    EXPECT_TRUE(sorted());
    EXPECT_EQ(registry.disks().front()->bsdName(), "odd") << "no unit comes first";
    tracked("disk0")->loadDAInfo({{"DAMediaBSDName", "disk0"}, {"DAMediaBSDUnit", 70}});
    arrive("odder");
    EXPECT_TRUE(sorted());
    EXPECT_EQ(registry.disks().back()->bsdName(), "disk0");
}

TEST_F(VantorelTest, TracksADiskOnceThatComesAndGoesBeforeTheMainQueueRuns)
{
    test::DiskTree tree;
    const auto drive = tree.drive("disk0", "X");
    const auto disk = tree.media(drive, "disk0s1", "p");
    const PropertyTable named = tree.entries.back().properties;
    auto unnamed = named;
    unnamed.erase("BSD Name");
    auto& machine = load(std::move(tree));
    const auto listener = std::make_shared<test::NotingListener>();
    Vantorel::shared().registerListener(listener);
    for (const PropertyTable& properties : {unnamed, named, unnamed, named})
        machine.change(disk, properties);
    while (system::CFRunLoopRunInMode(system::kCFRunLoopDefaultMode, 0, true) ==
           system::CFRunLoopRunResult::handledSource) {
        // the events, but not the main queue, on which arrivals are handled
    }
    settle();
    EXPECT_EQ(names(Vantorel::shared().disks()), "disk0 disk0s1");
    EXPECT_THAT(listener->told, ElementsAre("disappeared disk0s1", "appeared disk0s1"));
    EXPECT_THAT(messages, ElementsAre("Error: Disk disappeared but was not found in current list",
                                      "Unable to retrieve disk info", "Unable to retrieve disk object"));
    machine.remove(drive);
    settle();
    EXPECT_THAT(Vantorel::shared().disks(), IsEmpty());
}

TEST_F(VantorelTest, LivesOnWhenTheThreadThatTouchedItFirstEnds)
{
    std::jthread([] { static_cast<void>(Vantorel::shared()); }).join();
    auto& machine = load(test::oneOfEverything());
    EXPECT_EQ(Vantorel::shared().disks().size(), 16U);
    machine.remove(1);
    settle();
    EXPECT_FALSE(tracked("disk0"));
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(VantorelTest, LetsGoOfAMachineWithAMirrorWithoutALine)
{
    for (int round = 0; round < 2; ++round) {
        load(test::oneOfEverything());
        EXPECT_EQ(Vantorel::shared().disks().size(), 16U);
    }
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(VantorelTest, FindsDisksByWhatTheyAreNow)
{
    auto tree = test::oneOfEverything();
    auto& machine = load(tree);
    auto& registry = Vantorel::shared();
    const auto volumesOf = [&](const char* drive) { return names(registry.getVolumes(*tracked<Drive>(drive))); };

    // Keys change under the list: a partition moves from one drive to another, a store takes its container with it.
    const auto moved = tracked<Volume>("disk0s1");
    moved->loadDAInfo({{"DAMediaBSDName", "other"}, {"DAMediaBSDUnit", 2}});
    EXPECT_EQ(registry.getVolume("other"), moved);
    EXPECT_FALSE(registry.getVolume("disk0s1"));
    EXPECT_EQ(volumesOf("disk0"), "disk1s1 disk1s2 disk0s2");
    EXPECT_EQ(volumesOf("disk2"), "disk3 other");
    tracked<Volume>("disk0s2")->loadDAInfo({{"DAMediaBSDName", "disk0s2"}, {"DAMediaBSDUnit", 2}});
    EXPECT_EQ(volumesOf("disk0"), "");
    EXPECT_EQ(volumesOf("disk2"), "disk1s1 disk1s2 disk3 other disk0s2");

    // A logical volume that comes now finds its physical volume by the UUID that this has now.
    const auto physical = entryOf(tree, "disk4s2");
    auto properties = tree.entries[physical - 1].properties;
    properties["UUID"] = "EEEEEEEE-0000-4000-8000-000000000009";
    machine.change(physical, properties);
    tree.logicalVolume(physical, "disk9", "Late");
    for (auto entry = tree.entries.end() - 3; entry != tree.entries.end(); ++entry)
        machine.arrive(*entry);
    settle();
    EXPECT_EQ(tracked<CoreStorage>("disk9")->logicalVolume(), tracked("disk4s2"));
    EXPECT_EQ(names(registry.disks()).substr(0, 12), "disk0 disk1 ") << "and is sorted with all others";

    // Of two disks with one name the first counts, until it is gone.
    const auto second = Disk::create<Volume>(tracked("disk7s1")->diskObject());
    auto listed = registry.disks();
    listed.push_back(second);
    registry.setDisks(listed);
    EXPECT_EQ(registry.getVolume("disk7s1"), tracked("disk7s1"));
    EXPECT_NE(registry.getVolume("disk7s1"), second);
    machine.remove(entryOf(tree, "disk7s1"));
    settle();
    EXPECT_EQ(registry.getVolume("disk7s1"), second);
    EXPECT_FALSE(registry.getVolume("")) << "nor is a disk without a name found by none";
}

TEST_F(VantorelTest, StaysEmptyWithoutASession)
{
    system::setCallGate([](std::string_view operation) { return operation != "DASessionCreate"; });
    load(test::oneOfEverything());
    system::setCallGate(nullptr);
    post("diskDisappeared");
    settle();
    EXPECT_THAT(Vantorel::shared().disks(), IsEmpty());
    EXPECT_THAT(messages, ElementsAre("Unable to initialize DASession"));
}

TEST_F(VantorelTest, StartsInOrderAndCanBeAskedFromWithinItsStart)
{
    std::vector<std::string> calls;
    system::setCallGate([&calls](std::string_view operation) {
        calls.emplace_back(operation);
        return true;
    });
    bool asked = false;
    system::CFRunLoopPerformBlock(system::CFRunLoopGetCurrent(),
                                  [&asked] { asked = Vantorel::shared().disks().empty(); });
    static_cast<void>(Vantorel::shared());
    system::setCallGate(nullptr);
    EXPECT_TRUE(asked) << "the pass of the run loop inside the start";
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls[0], "DASessionCreate");
}

TEST_F(VantorelTest, IsStartedOnceHoweverManyThreadsAskFirst)
{
    std::atomic<int> sessions = 0;
    system::setCallGate([&sessions](std::string_view operation) {
        sessions += operation == "DASessionCreate";
        return true;
    });
    std::array<Vantorel*, 4> found{};
    {
        std::vector<std::jthread> threads;
        for (Vantorel*& registry : found)
            threads.emplace_back([&registry] { registry = &Vantorel::shared(); });
    }
    system::setCallGate(nullptr);
    EXPECT_EQ(sessions, 1);
    EXPECT_THAT(found, testing::Each(&Vantorel::shared()));
}

TEST_F(VantorelTest, OffersPlaceholderValues)
{
    const auto ata = Vantorel::dummyAta();
    EXPECT_EQ(ata.name + ata.formattedValue + ata.info, "DummyValueInfo");
    EXPECT_EQ(ata.current, 10);
    EXPECT_EQ(ata.worst, 5);
    EXPECT_EQ(ata.type, SmartAttributeType::oldAge);
    EXPECT_EQ(ata.state, ATASmartAttributeState::ok);
    const auto nvme = Vantorel::dummyNvme();
    EXPECT_EQ(nvme.name + nvme.formattedValue + nvme.info, "DummyValueInfo");
    EXPECT_EQ(nvme.valueType, SmartValueType::string);
}
