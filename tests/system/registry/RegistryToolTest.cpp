// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/registry/RegistryTool.h"

#include "machines/recorded/RegistryListing.h"
#include "support/DiskTree.h"
#include "system/files/Process.h"
#include "system/propertylist/PropertyList.h"
#include "vantorel/machines/recorded/Loading.h"
#include "vantorel/machines/recorded/RecordedMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace vantorel::system {
namespace {

using recorded::Fault;

Data listing()
{
    const auto pipe = std::make_shared<Pipe>();
    Task task;
    task.setLaunchPath(std::string(registryToolPath));
    task.setArguments({"-l", "-w0", "-a"});
    task.setStandardOutput(pipe);
    task.launch();
    return pipe->fileHandleForReading().readDataToEndOfFile().value();
}

/// Entries by id, as a listing can tell them apart.
std::map<std::uint64_t, std::string> described(const std::vector<RegistryEntry>& entries)
{
    std::map<std::uint64_t, std::string> texts;
    for (const RegistryEntry& entry : entries) {
        std::string& text = texts[entry.id];
        text = entry.className + " " + entry.name + "@" + entry.location + " under";
        for (const std::uint64_t parent : entry.parents)
            text += " " + std::to_string(parent);
        for (const std::string& base : entry.inheritance)
            text += " " + base;
        text += writeXmlPropertyList(entry.properties);
    }
    return texts;
}

std::map<std::uint64_t, std::string> listedEntries()
{
    std::vector<Fault> faults;
    const auto entries = recorded::readListing(listing(), "listing", faults);
    EXPECT_THAT(faults, testing::IsEmpty());
    return described(entries);
}

TEST(RegistryTool, ListsWhatARecordedMachineLoadsAsTheSameRegistry)
{
    for (const char* const name : {"laptop", "tower"}) {
        recorded::Recording recording = recorded::loadRecording(std::string(VANTOREL_SAMPLES) + "/machines/" + name);
        const auto entries = described(recording.entries);
        EXPECT_GT(entries.size(), 30U);
        install(std::make_unique<recorded::RecordedMachine>(std::move(recording), recorded::Playback::byHand));
        EXPECT_EQ(listedEntries(), entries) << name;
    }
}

TEST(RegistryTool, ListsAMachineWithoutARootUnderOne)
{
    test::TestMachine::install();
    const PropertyValue empty = readPropertyList(listing());
    EXPECT_EQ(empty,
              PropertyValue(PropertyTable{{"IOObjectClass", "IORegistryEntry"}, {"IORegistryEntryName", "Root"}}));

    RegistryEntry entry{7, "disk & <name>", "1F,2", "IOMedia", {"IOService", "IOMedia"}, {}, {}};
    entry.properties = {{"BSD Name", "disk0"}, {"IOObjectClass", "Lie"}, {"IORegistryEntryChildren", PropertyArray{}}};
    test::TestMachine::install({entry}).current[7] = {{"Statistics", 5}};
    const PropertyValue root = readPropertyList(listing());
    const PropertyArray* const children = root.table()->lookUp("IORegistryEntryChildren")->array();
    ASSERT_EQ(children->size(), 1U);
    EXPECT_EQ(children->front(),
              PropertyValue(PropertyTable{{"BSD Name", "disk0"},
                                          {"IOObjectClass", "IOMedia"},
                                          {"IOObjectInheritance", PropertyArray{"IOService", "IOMedia"}},
                                          {"IORegistryEntryID", 7},
                                          {"IORegistryEntryLocation", "1F,2"},
                                          {"IORegistryEntryName", "disk & <name>"},
                                          {"Statistics", 5}}));
}

TEST(RegistryTool, ListsAnEntryUnderEachOfItsParents)
{
    test::DiskTree tree;
    const auto left = tree.drive("disk0", "Left");
    const auto right = tree.drive("disk1", "Right");
    tree.raidSet({{left, test::memberUuidA}, {right, test::memberUuidB}}, "disk2", "Mirror");
    const auto entries = described(tree.entries);
    test::TestMachine::install(std::move(tree.entries));

    auto listed = listedEntries();
    const auto root = listed.extract(std::prev(listed.end())); // the root, which the machine did not tell
    EXPECT_THAT(root.mapped(), testing::StartsWith("IORegistryEntry Root@"));
    const std::string text = " under " + std::to_string(root.key());
    for (auto& [id, description] : listed) {
        if (const auto found = description.find(text); found != std::string::npos)
            description.erase(found + 6, text.size() - 6);
    }
    EXPECT_EQ(listed, entries);
    const Data bytes = listing();
    const std::string xml(bytes.begin(), bytes.end());
    std::size_t count = 0;
    for (std::size_t at = 0; (at = xml.find("<string>disk2</string>", at)) != std::string::npos; ++at)
        ++count;
    EXPECT_EQ(count, 2U) << "and with it what is below";
}

TEST(RegistryTool, EndsForEntriesThatRepeatEachOtherWithoutEnd)
{
    // Each layer of two hangs under both of the layer above: 2^39 ways lead to the last.
    std::vector<RegistryEntry> entries;
    for (std::uint64_t layer = 0; layer < 40; ++layer) {
        for (std::uint64_t i = 1; i <= 2; ++i) {
            std::vector<std::uint64_t> parents;
            if (layer > 0)
                parents = {2 * layer - 1, 2 * layer};
            entries.push_back({2 * layer + i, "entry", "", "IOService", {}, parents, {}});
        }
    }
    const auto described = entries.size();
    test::TestMachine::install(std::move(entries));
    const Data bytes = listing();
    EXPECT_LT(bytes.size(), 64U << 20);
    std::vector<Fault> faults;
    const auto listed = recorded::readListing(bytes, "listing", faults);
    EXPECT_EQ(listed.size(), described + 1);
    EXPECT_EQ(std::ranges::count(listed, 2U, [](const RegistryEntry& entry) { return entry.parents.size(); }), 78);
}

} // namespace
} // namespace vantorel::system
