// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/SavedMachine.h"

#include "machines/recorded/DeviceIdentity.h"
#include "machines/recorded/RegistryIndex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using namespace vantorel;
using namespace vantorel::recorded;
using testing::ElementsAre;

namespace {

const std::string listing = R"(+-o Root  <class IORegistryEntry, id 0x1>
  +-o bridge  <class IOService, id 0x10>
  | | {
  | |   "SMART Capable" = Yes
  | |   "Device Characteristics" = {"Product Name"="Bridge","Serial Number"="B1","Product Revision Level"="0.1"}
  | | }
  | +-o disk  <class IOBlockStorageDevice, id 0x11>
  |   | {
  |   |   "SMART Capable" = Yes
  |   |   "Device Characteristics" = {"Product Name"="ST9","Serial Number"="Z840"}
  |   | }
  |   +-o driver  <class IOBlockStorageDriver, id 0x12>
  |     +-o medium  <class IOMedia, id 0x13>
  |       | {
  |       |   "BSD Name" = "disk0"
  |       |   "Whole" = Yes
  |       | }
  |       +-o part  <class IOMedia, id 0x14>
  |           {
  |             "BSD Name" = "disk0s1"
  |             "Whole" = No
  |           }
  +-o controller  <class IONVMeController, id 0x20>
  | | {
  | |   "NVMe SMART Capable" = Yes
  | |   "SMART Capable" = No
  | |   "Device Characteristics" = {"Product Name"="A model name that is longer than forty letters","Serial Number"="S4"}
  | | }
  | +-o namespace  <class IOMedia, id 0x21>
  |     {
  |       "BSD Name" = "disk1"
  |       "Whole" = Yes
  |     }
  +-o stick  <class IOMedia, id 0x30>
      {
        "BSD Name" = "disk2"
        "Whole" = Yes
      }
)";

Recording savedWith(const std::vector<SavedSmart>& drives)
{
    return savedMachine(Data(listing.begin(), listing.end()), "ioreg.txt", drives);
}

std::string textAt(const Data& image, std::size_t offset, std::size_t size)
{
    return {image.begin() + static_cast<std::ptrdiff_t>(offset),
            image.begin() + static_cast<std::ptrdiff_t>(offset + size)};
}

TEST(SavedMachine, HasEachDriveAtTheNearestEntryThatAnswersForIt)
{
    SavedSmart ata{.disk = "disk0"};
    ata.data = Data(512, 3);
    ata.thresholds = Data(512, 4);
    ata.identify = Data(512, 5);
    ata.failing = true;
    SavedSmart nvme{.disk = "disk1", .kind = RecordedDrive::Kind::nvme};
    nvme.data = Data(512, 6);
    nvme.errorLog = Data(64, 7);
    const Recording recording = savedWith({ata, nvme});
    EXPECT_TRUE(recording.faults.empty());
    ASSERT_EQ(recording.drives.size(), 2U);
    const RecordedDrive& disk = recording.drives.at(0x11);
    EXPECT_EQ(disk.kind, RecordedDrive::Kind::ata);
    EXPECT_EQ(disk.data, Data(512, 3));
    EXPECT_EQ(disk.thresholds, Data(512, 4));
    EXPECT_EQ(disk.identify, Data(512, 5));
    EXPECT_TRUE(disk.exceeded);
    EXPECT_TRUE(disk.failures.empty());
    const RecordedDrive& controller = recording.drives.at(0x20);
    EXPECT_EQ(controller.kind, RecordedDrive::Kind::nvme);
    EXPECT_EQ(controller.logs, (std::map<std::uint8_t, Data>{{1, Data(64, 7)}, {2, Data(512, 6)}}));
    ASSERT_TRUE(controller.identify);
    EXPECT_EQ(controller.identify->size(), 4096U);
    EXPECT_EQ(textAt(*controller.identify, 4, 20), "S4                  ");
    EXPECT_EQ(textAt(*controller.identify, 24, 40), "A model name that is longer than forty l");
    EXPECT_EQ(textAt(*controller.identify, 64, 8), "        ");
    EXPECT_EQ((*controller.identify)[72], 0);
}

TEST(SavedMachine, TakesNothingForAGoodWordThatWasNotSaved)
{
    const auto driveWith = [](std::optional<bool> failing) {
        SavedSmart saved{.disk = "disk0"};
        saved.failing = failing;
        return savedWith({saved}).drives.at(0x11);
    };
    const RecordedDrive silent = driveWith(std::nullopt);
    EXPECT_EQ(silent.failures.at("status"), system::kIOReturnUnsupported);
    EXPECT_FALSE(silent.exceeded || silent.data || silent.thresholds || silent.identify);
    EXPECT_FALSE(driveWith(false).exceeded);
    EXPECT_TRUE(driveWith(false).failures.empty());

    SavedSmart nvme{.disk = "disk1", .kind = RecordedDrive::Kind::nvme};
    nvme.identify = Data(4096, 9);
    const RecordedDrive controller = savedWith({nvme}).drives.at(0x20);
    EXPECT_EQ(controller.identify, Data(4096, 9)) << "what was saved, and not what the listing says";
    EXPECT_TRUE(controller.logs.empty());

    const Recording wrong = savedWith({{.disk = "disk0s1"},
                                       {.disk = "disk9"},
                                       {.disk = "disk2"},
                                       {.disk = "disk0", .kind = RecordedDrive::Kind::nvme},
                                       {.disk = "disk1"}});
    EXPECT_TRUE(wrong.drives.empty());
    std::vector<std::string> faults;
    for (const Fault& fault : wrong.faults)
        faults.push_back(fault.text());
    EXPECT_THAT(faults, ElementsAre("ioreg.txt: disk0s1: no such whole disk in the listing",
                                    "ioreg.txt: disk9: no such whole disk in the listing",
                                    "ioreg.txt: disk2: no entry above the disk says that it is SMART capable",
                                    "ioreg.txt: disk0: no entry above the disk says that it is SMART capable",
                                    "ioreg.txt: disk1: no entry above the disk says that it is SMART capable"));
}

TEST(SavedMachine, KnowsADeviceByWhatIsToldNearest)
{
    const auto identities = deviceIdentities(savedWith({}).entries);
    ASSERT_EQ(identities.size(), 3U);
    const DeviceIdentity& disk = identities.at("disk0");
    EXPECT_EQ(disk.model, "ST9");
    EXPECT_EQ(disk.serial, "Z840");
    EXPECT_EQ(disk.firmware, "0.1") << "which only the bridge tells";
    EXPECT_EQ(disk.smartEntry, 0x11U);
    EXPECT_EQ(disk.nvmeSmartEntry, std::nullopt);
    EXPECT_EQ(identities.at("disk1").nvmeSmartEntry, 0x20U);
    EXPECT_EQ(identities.at("disk1").smartEntry, std::nullopt);
    EXPECT_EQ(identities.at("disk2").model, "");
}

TEST(RegistryIndex, FindsAnEntryByNameOrNumber)
{
    const Recording recording = savedWith({});
    const RegistryIndex index(recording.entries);
    const std::pair<const char*, std::optional<std::uint64_t>> rows[] = {
        {"disk0", 0x13}, {"disk0s1", 0x14}, {"0x20", 0x20}, {"32", 0x20},  {"0x99", {}},
        {"disk9", {}},   {"", {}},          {"0x", {}},     {"0x20 ", {}}, {"-1", {}},
    };
    for (const auto& [name, id] : rows)
        EXPECT_EQ(index.find(name), id) << name;
    using Kind = RecordedDrive::Kind;
    EXPECT_EQ(index.capableFrom(0x14, Kind::ata), 0x11U);
    EXPECT_EQ(index.capableFrom(0x11, Kind::ata), 0x11U) << "itself";
    EXPECT_EQ(index.capableFrom(0x14, Kind::nvme), std::nullopt);
    EXPECT_EQ(index.capableFrom(0x21, Kind::nvme), 0x20U);
    EXPECT_EQ(index.capableFrom(0x30, Kind::ata), std::nullopt);
    EXPECT_THAT(disksOfDrives(recording),
                testing::UnorderedElementsAre(testing::Pair(0x11U, "disk0"), testing::Pair(0x20U, "disk1")));

    // A registry that is deeper than any.
    std::vector<system::RegistryEntry> chain;
    for (std::uint64_t id = 1; id <= 300; ++id)
        chain.push_back({.id = id, .parents = {id - 1}});
    chain[9].properties = {{"SMART Capable", true}};
    const RegistryIndex deep(chain);
    EXPECT_EQ(deep.capableFrom(266, Kind::ata), 10U) << "256 levels above";
    EXPECT_EQ(deep.capableFrom(267, Kind::ata), std::nullopt);
}

} // namespace
