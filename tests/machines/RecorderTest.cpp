// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/Recorder.h"

#include "support/TestMachine.h"
#include "vantorel/machines/recorded/Loading.h"
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "vantorel/machines/recorded/RecordingWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace vantorel;
using namespace vantorel::recorded;
using system::RegistryEntry;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Recording reread(const Recording& recording)
{
    const std::string json = writeMachineJson(recording);
    return loadRecording("recorded", Data(json.begin(), json.end()));
}

/// Everything in a recording that a machine can be told by.
void expectSame(const Recording& one, const Recording& other)
{
    ASSERT_EQ(one.entries.size(), other.entries.size());
    for (std::size_t i = 0; i < one.entries.size(); ++i) {
        const RegistryEntry& entry = one.entries[i];
        EXPECT_EQ(entry.id, other.entries[i].id);
        EXPECT_EQ(entry.name, other.entries[i].name);
        EXPECT_EQ(entry.location, other.entries[i].location);
        EXPECT_EQ(entry.className, other.entries[i].className);
        EXPECT_EQ(entry.inheritance, other.entries[i].inheritance);
        EXPECT_EQ(entry.parents, other.entries[i].parents) << entry.id;
        EXPECT_EQ(entry.properties, other.entries[i].properties) << entry.id;
    }
    ASSERT_EQ(one.volumes.size(), other.volumes.size());
    for (std::size_t i = 0; i < one.volumes.size(); ++i) {
        const RecordedVolume& volume = one.volumes[i];
        EXPECT_EQ(volume.disk, other.volumes[i].disk);
        EXPECT_EQ(volume.facts.kind, other.volumes[i].facts.kind);
        EXPECT_EQ(volume.facts.name, other.volumes[i].facts.name);
        EXPECT_EQ(volume.facts.uuid, other.volumes[i].facts.uuid);
        EXPECT_EQ(volume.facts.mountable, other.volumes[i].facts.mountable);
        EXPECT_EQ(volume.facts.mountPoints, other.volumes[i].facts.mountPoints);
        EXPECT_EQ(volume.size, other.volumes[i].size) << volume.disk;
        EXPECT_EQ(volume.free, other.volumes[i].free);
        EXPECT_EQ(volume.writable, other.volumes[i].writable);
    }
    ASSERT_EQ(one.drives.size(), other.drives.size());
    for (const auto& [entry, drive] : one.drives) {
        const RecordedDrive& same = other.drives.at(entry);
        EXPECT_EQ(drive.kind, same.kind);
        EXPECT_EQ(drive.identify, same.identify);
        EXPECT_EQ(drive.data, same.data);
        EXPECT_EQ(drive.thresholds, same.thresholds);
        EXPECT_EQ(drive.logs, same.logs);
        EXPECT_EQ(drive.exceeded, same.exceeded);
        EXPECT_EQ(drive.failures, same.failures);
    }
}

TEST(Recorder, WhatIsReadCanBeReadAgainHoweverDeepItNests)
{
    const auto nested = [](std::size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    const auto nestedTables = [](std::size_t levels) {
        std::string text;
        for (std::size_t i = 1; i < levels; ++i)
            text += R"({"t": )";
        return text + "{}" + std::string(levels - 1, '}');
    };
    const std::string tree = R"({"IORegistryEntryName": "Root", "IORegistryEntryID": 9, "deep": )" + nested(500) +
                             R"(, "deepTable": )" + nestedTables(500) + R"(, "tooDeep": )" + nested(501) +
                             R"(, "tooDeepTable": )" + nestedTables(501) + "}";
    for (const std::string& json :
         {R"({"registry": )" + tree + "}", R"({"entries": [], "events": [{"at": 1, "arrive": )" + tree + "}]}"}) {
        const Recording recording = loadRecording("deep", Data(json.begin(), json.end()));
        ASSERT_EQ(recording.faults.size(), 2U);
        EXPECT_EQ(recording.faults[0].fault, "tooDeep is nested too deeply");
        EXPECT_EQ(recording.faults[1].fault, "tooDeepTable is nested too deeply");
        const Recording again = reread(recording);
        EXPECT_THAT(again.faults, IsEmpty());
        EXPECT_EQ(writeMachineJson(again), writeMachineJson(recording));
        EXPECT_THAT(writeMachineJson(again), testing::HasSubstr("\"deep\""));
    }
}

TEST(RecordingWriter, WhatItWritesIsReadAsTheSameRecording)
{
    Recording recording;
    const PropertyTable kinds = {{"yes", true},
                                 {"low", std::numeric_limits<std::int64_t>::min()},
                                 {"high", std::numeric_limits<std::uint64_t>::max()},
                                 {"real", 2.5},
                                 {"null", nullptr},
                                 {"text", "\"ü\n"},
                                 {"bytes", Data{0, 255}},
                                 {"array", PropertyArray{1, PropertyArray{}, PropertyTable{{"a", "b"}}}}};
    recording.entries = {{1, "Root", "", "IORegistryEntry", {}, {}, {{"SMART Capable", true}}},
                         {7, "b", "2", "Member", {"OSObject", "Member"}, {1}, kinds},
                         {5, "a", "", "Member", {}, {1}, {{"NVMe SMART Capable", true}}},
                         {6, "set", "", "IOMedia", {}, {5, 7}, {{"BSD Name", "disk3"}, {"Whole", true}}}};
    recording.volumes = {{"disk3", {"apfs", "HD", base::Uuid{{1, 2, 3}}, false, {"/", "/b"}}, 90, 8, false},
                         {"disk4", {}, 1, 0, true}};
    RecordedDrive nvme;
    nvme.kind = RecordedDrive::Kind::nvme;
    nvme.identify = Data(4096, 6);
    nvme.logs = {{2, Data(512, 2)}, {1, Data(64, 1)}, {200, Data{}}};
    nvme.failures = {{"errorLog", system::kIOReturnTimeout}, {"log 9", system::kIOReturnIOError}};
    recording.drives.emplace(5, nvme);
    RecordedDrive ata;
    ata.identify = Data(512, 3);
    ata.data = Data(512, 4);
    ata.thresholds = Data(512, 5);
    ata.exceeded = true;
    ata.failures = {{"open", system::kIOReturnExclusiveAccess}};
    recording.drives.emplace(1, ata);
    recording.script = {{0.5, RecordedStep::Arrival{{{9, "late", "", "IOMedia", {}, {1}, {{"BSD Name", "disk9"}}}}}},
                        {1, RecordedStep::Change{9, {{"Size", 4}, {"BSD Name", nullptr}}}},
                        {1.5, recording.volumes[1]},
                        {2, RecordedStep::Removal{7}}};

    const Recording again = reread(recording);
    EXPECT_THAT(again.faults, IsEmpty());
    expectSame(again, recording);
    ASSERT_EQ(again.script.size(), 4U);
    EXPECT_EQ(again.script[0].seconds, 0.5);
    const auto& arrived = std::get<RecordedStep::Arrival>(again.script[0].what).entries.at(0);
    EXPECT_EQ(arrived.name, "late");
    EXPECT_THAT(arrived.parents, ElementsAre(1));
    const auto& change = std::get<RecordedStep::Change>(again.script[1].what);
    EXPECT_EQ(change.entry, 9U);
    EXPECT_EQ(change.changes, (PropertyTable{{"Size", 4}, {"BSD Name", nullptr}}));
    EXPECT_EQ(std::get<RecordedVolume>(again.script[2].what).disk, "disk4");
    EXPECT_EQ(std::get<RecordedStep::Removal>(again.script[3].what).entry, 7U);
    EXPECT_EQ(writeMachineJson(again), writeMachineJson(recording));
}

/// Asks the last drive first, each on a thread of its own.
void backwards(std::size_t count, const std::function<void(std::size_t)>& work)
{
    while (count > 0)
        std::thread(work, --count).join();
}

TEST(Recorder, ARecordingOfARecordedMachineIsTheSame)
{
    for (const char* const name : {"/machines/laptop", "/machines/tower"}) {
        Recording original = loadRecording(VANTOREL_SAMPLES + std::string(name));
        original.script.clear();
        Recording recording = recordMachine(std::make_unique<RecordedMachine>(original, Playback::byHand), backwards);
        for (RecordedVolume& volume : original.volumes) {
            if (volume.facts.mountPoints.empty()) // then nobody can be asked for the sizes
                volume.size = volume.free = 0;
        }
        // What the sample does not have is what the drive does not know.
        for (auto& [entry, drive] : original.drives)
            std::erase_if(drive.failures,
                          [](const auto& failure) { return failure.second == system::kIOReturnUnsupported; });
        for (auto& [entry, drive] : recording.drives)
            std::erase_if(drive.failures,
                          [](const auto& failure) { return failure.second == system::kIOReturnUnsupported; });
        expectSame(recording, original);
        expectSame(reread(recording), recording);
    }
}

/// The commands that a drive was sent, as "B0.D5.C24F01", and what it answers.
system::AtaResult answer(const system::AtaCommand& command, std::vector<std::string>& sent, std::uint8_t features)
{
    char text[32];
    std::snprintf(text, sizeof text, "%02X.%02X.%06X", command.command, command.feature, command.lba);
    sent.emplace_back(text);
    if (command.feature == 0xD1)
        return {system::kIOReturnTimeout, 0, 0};
    if (command.feature == 0xDA)
        return {system::kIOReturnSuccess, 0, 0x2CF400};
    std::ranges::fill(command.read, command.feature);
    if (command.command == 0xEC) {
        command.read[168] = features;
        command.read[169] = 0x40;
    }
    const std::size_t size = command.command == 0xEC ? 512 : 500;
    return {system::kIOReturnSuccess, command.read.empty() ? 0 : size, command.lba};
}

TEST(Recorder, AsksADriveForNothingThatItDoesNotDeclare)
{
    const std::vector<std::string> always = {"EC.00.000000", "B0.D8.C24F00", "B0.D0.C24F00", "B0.D1.C24F00",
                                             "B0.DA.C24F00"};
    for (const auto& [features, logs] : std::vector<std::pair<std::uint8_t, std::vector<std::string>>>{
             {0, {}}, {1, {"B0.D5.C24F01"}}, {2, {"B0.D5.C24F06"}}, {3, {"B0.D5.C24F01", "B0.D5.C24F06"}}}) {
        auto machine = std::make_unique<test::TestMachine>(
            std::vector<RegistryEntry>{{4, "device", "", "IOBlockStorageDevice", {}, {}, {{"SMART Capable", true}}},
                                       {5, "shut", "", "IOBlockStorageDevice", {}, {}, {{"SMART Capable", true}}},
                                       {6, "none", "", "IOBlockStorageDevice", {}, {}, {{"SMART Capable", false}}}});
        std::vector<std::string> sent;
        machine->ataDrives[4] = [&, wanted = features](const auto& command) { return answer(command, sent, wanted); };
        const Recording recording = recordMachine(std::move(machine), backwards);
        std::vector<std::string> expected = always;
        expected.insert(expected.end(), logs.begin(), logs.end());
        EXPECT_THAT(sent, testing::ElementsAreArray(expected)) << int{features};
        ASSERT_EQ(recording.drives.size(), 1U);
        const RecordedDrive& drive = recording.drives.at(4);
        EXPECT_EQ(drive.data, Data(500, 0xD0));
        EXPECT_EQ(drive.thresholds, std::nullopt);
        EXPECT_TRUE(drive.exceeded);
        EXPECT_EQ(drive.failures, (decltype(drive.failures){{"thresholds", system::kIOReturnTimeout}}));
        EXPECT_EQ(drive.logs.size(), logs.size());
    }
}

} // namespace
