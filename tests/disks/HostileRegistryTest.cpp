// SPDX-License-Identifier: GPL-2.0-or-later
// Machines that lie, and a platform that refuses.
#include "support/RegistryFixture.h"
#include "system/CallGate.h"
#include "system/registry/HandleTable.h"
#include "vantorel/disks/AppleStorage.h"
#include "vantorel/disks/CoreStorage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace vantorel;

namespace {

/// Asks every tracked disk everything.
void askEverything()
{
    const auto& registry = Vantorel::shared();
    for (const auto& disk : std::vector(registry.disks())) {
        static_cast<void>(disk->icon());
        if (const auto drive = std::dynamic_pointer_cast<Drive>(disk)) {
            static_cast<void>(drive->summary());
            static_cast<void>(drive->statistics());
            static_cast<void>(drive->isBootDrive());
            static_cast<void>(drive->getWritablePath(1));
        }
        if (const auto volume = std::dynamic_pointer_cast<Volume>(disk))
            static_cast<void>(volume->freeSpace());
    }
}

PropertyValue wrongValue(std::minstd_rand& random)
{
    switch (random() % 6) {
    case 0:
        return nullptr;
    case 1:
        return -1;
    case 2:
        return std::string("\xff\xfe not UTF-8");
    case 3:
        return PropertyArray{PropertyTable{}, 5};
    case 4:
        return PropertyTable{{"Unmap", PropertyArray{}}};
    default:
        return true;
    }
}

} // namespace

using HostileRegistry = test::RegistryFixture;

TEST_F(HostileRegistry, NeitherMissingKeysNorWrongTypesDoHarm)
{
    // Every property of every entry in turn is taken away or replaced.
    std::minstd_rand random(7);
    for (int round = 0; round < 60; ++round) {
        auto tree = test::oneOfEverything();
        for (auto& entry : tree.entries) {
            for (auto property = entry.properties.begin(); property != entry.properties.end();) {
                const auto choice = random() % 8;
                if (choice == 1)
                    property->second = wrongValue(random);
                property = choice == 0 ? entry.properties.erase(property) : std::next(property);
            }
        }
        load(std::move(tree));
        askEverything();
    }
    test::TestMachine::install();
    settle();
    for (const auto& disk : Vantorel::shared().disks())
        EXPECT_FALSE(disk->bsdName()) << "only a disk whose name was lost can stay";
    EXPECT_EQ(system::liveHandleCount(), 0U);
}

TEST_F(HostileRegistry, LoopsOfParentsAndEventsInAnyOrderDoNoHarm)
{
    auto tree = test::oneOfEverything();
    std::minstd_rand random(11);
    for (auto& entry : tree.entries) {
        if (random() % 4 == 0)
            entry.parents.push_back(1 + random() % tree.entries.size());
    }
    auto& machine = load(tree);
    for (int step = 0; step < 600; ++step) {
        const auto& entry = tree.entries[random() % tree.entries.size()];
        switch (random() % 4) {
        case 0:
            machine.remove(entry.id);
            break;
        case 1:
            machine.arrive(entry);
            break;
        case 2:
            machine.change(entry.id, entry.properties);
            break;
        default:
            machine.change(entry.id + 1000, {});
            machine.remove(entry.id + 1000);
            break;
        }
        if (step % 3 == 0)
            settle();
    }
    settle();
    askEverything();
    EXPECT_EQ(system::liveHandleCount(), 0U);
}

TEST_F(HostileRegistry, EveryPlatformCallMayFail)
{
    // The calls of a full load are counted first; then each of them fails once.
    const auto run = [this](std::size_t failing) {
        std::size_t calls = 0;
        system::setCallGate([&calls, failing](std::string_view) { return ++calls != failing; });
        load(test::oneOfEverything());
        askEverything();
        system::setCallGate(nullptr);
        EXPECT_EQ(system::liveHandleCount(), 0U) << "call " << failing;
        test::TestMachine::install();
        settle();
        Vantorel::shared().setDisks({});
        return calls;
    };
    settle(); // the session of the registry; what happens without one is told in StaysEmptyWithoutASession
    const std::size_t calls = run(0);
    EXPECT_GT(calls, 300U);
    for (std::size_t failing = 1; failing <= calls; ++failing)
        run(failing);
}

TEST_F(HostileRegistry, AFailedCallCostsOneMessageAndTheFieldsItFeeds)
{
    struct Row {
        const char* operation;
        std::vector<std::string> lines;
        bool isTracked;
    };
    const std::string noProperties = "Unable to retrieve properties";
    const Row rows[] = {
        // Classification and loading both ask for the description, and both for the properties.
        {"DADiskCopyDescription", {"Unable to retrieve disk info", "Unable to retrieve disk object"}, false},
        {"DADiskCopyIOMedia", {noProperties}, false},
        {"IORegistryEntryCreateCFProperties", {noProperties}, false},
        {"IORegistryEntryGetParentEntry", {noProperties}, true},
        {"IOServiceGetMatchingService", {noProperties}, true},
    };
    settle();
    for (const Row& row : rows) {
        messages.clear();
        bool failed = false;
        system::setCallGate(
            [&](std::string_view operation) { return operation != row.operation || std::exchange(failed, true); });
        test::DiskTree tree;
        tree.drive("disk0", "X SSD");
        load(std::move(tree));
        system::setCallGate(nullptr);
        EXPECT_TRUE(failed) << row.operation;
        EXPECT_EQ(messages, row.lines) << row.operation;
        EXPECT_EQ(tracked("disk0") != nullptr, row.isTracked) << row.operation;
        if (const auto drive = tracked<Drive>("disk0")) {
            EXPECT_EQ(drive->driveKind(), Disk::DriveKind::unknown) << "although the model says SSD";
        }
        test::TestMachine::install();
        settle();
    }
}

TEST_F(HostileRegistry, DisksThatWentAreFreedHoweverTheyWereLinked)
{
    // Pairs that go together keep each other; a container that comes back finds its old store.
    std::vector<std::weak_ptr<Disk>> gone;
    const auto tree = test::oneOfEverything();
    const auto held = [&gone] { return std::ranges::count_if(gone, [](const auto& disk) { return !disk.expired(); }); };
    std::shared_ptr<Volume> kept;
    for (int round = 0; round < 200; ++round) {
        auto& machine = load(tree);
        const auto store = tracked<Volume>("disk0s2");
        if (round == 0)
            kept = store;
        for (const char* name : {"disk1", "disk1s1", "disk2s2", "disk3"})
            gone.push_back(tracked(name));
        for (const auto& entry : tree.entries) {
            if (entry.className == "AppleAPFSContainerScheme")
                machine.remove(entry.id);
        }
        settle();
        EXPECT_EQ(names(store->apfsMedia()->logicalVolumes()), "disk1s1 disk1s2") << "what went stays linked";
        const auto first =
            std::ranges::find(tree.entries, "AppleAPFSContainerScheme", &system::RegistryEntry::className);
        for (auto entry = first; entry != tree.entries.end(); ++entry)
            machine.arrive(*entry);
        settle();
        EXPECT_EQ(store->apfsMedia(), tracked("disk1"));
        gone.push_back(tracked("disk1"));
        test::TestMachine::install();
        settle();
    }
    EXPECT_LT(held(), 50) << "of 1000";
    EXPECT_EQ(kept->apfsMedia()->bsdVolume(), kept) << "somebody holds it, so its links stand";
    EXPECT_EQ(system::liveHandleCount(), 0U);
}
