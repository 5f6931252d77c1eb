// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/disks/Drive.h"
#include "support/RegistryFixture.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace vantorel;

namespace {

std::shared_ptr<Drive> described(const PropertyTable& description)
{
    auto drive = Disk::create<Drive>(std::make_shared<system::DADisk>());
    drive->loadDAInfo(description);
    return drive;
}

} // namespace

using DriveTest = test::RegistryFixture;

TEST_F(DriveTest, NamesTheVendorByTheFirstWordOfTheModelThatIsOne)
{
    const std::pair<const char*, const char*> table[] = {
        {"Samsung SSD 850", "Samsung"},
        {"APPLE SSD AP0512Q", "Apple"},
        {"WD Blue", "WD"},
        {"SSD\u00A0Intel\u2003X", "Intel"},
        {"WDC WD10", "Unknown"},
        {"Western Digital Elements", "Unknown"},
        {"Elements\tibm  disk", "IBM"},
        {"Disk of Sony and Intel", "Sony"},
        {"G.Skill Falcon", "G.skill"},
        {"", "Unknown"},
        {"   ", "Unknown"},
    };
    for (const auto& [model, vendor] : table) {
        EXPECT_EQ(described({{"DADeviceModel", model}, {"DADeviceVendor", ""}})->vendor(), vendor) << model;
        EXPECT_EQ(described({{"DADeviceModel", model}})->vendor(), vendor) << model;
    }
    EXPECT_EQ(described({{"DADeviceModel", "Intel"}, {"DADeviceVendor", "  "}})->vendor(), "  ");
    EXPECT_EQ(described({})->vendor(), "Unknown");
}

TEST_F(DriveTest, KeepsWhatOnlyAKnownTextReplaces)
{
    const auto drive = described({{"DADeviceModel", "\t FUJITSU MJA  "},
                                  {"DADeviceRevision", "0081 "},
                                  {"DADeviceBlockSize", 4096},
                                  {"DADeviceProtocol", "SATA"},
                                  {"DADevicePath", "IOService:/AHCI/USB"}});
    EXPECT_EQ(drive->model(), "FUJITSU MJA");
    EXPECT_EQ(drive->revision(), "0081 ");
    EXPECT_EQ(drive->blockSize(), 4096);
    drive->loadDAInfo({{"DADeviceProtocol", "Fibre Channel"}, {"DADevicePath", "IOService:/nvme"}});
    EXPECT_EQ(drive->deviceProtocol(), Disk::DriveProtocol::sata);
    EXPECT_EQ(drive->interface(), Disk::DriveInterface::ahci);
    EXPECT_FALSE(drive->model() || drive->revision() || drive->blockSize());
}

TEST_F(DriveTest, TellsInterfaceByWordAndProtocolByWholeText)
{
    const std::pair<const char*, Disk::DriveInterface> paths[] = {
        {"/PCI0/AHCI/USB", Disk::DriveInterface::ahci}, {"/USB3/NVMe", Disk::DriveInterface::nvme},
        {"/XHCI/USB3 USB", Disk::DriveInterface::usb3}, {"/EHCI/USB", Disk::DriveInterface::usb2},
        {"/IDE/ahci", Disk::DriveInterface::unknown},
    };
    for (const auto& [path, interface] : paths)
        EXPECT_EQ(described({{"DADevicePath", path}})->interface(), interface) << path;

    const std::pair<const char*, Disk::DriveProtocol> protocols[] = {
        {"Secure Digital", Disk::DriveProtocol::sd}, {"USB", Disk::DriveProtocol::usb},
        {"ATA", Disk::DriveProtocol::ata},           {"SATA", Disk::DriveProtocol::sata},
        {"PCI-Express", Disk::DriveProtocol::pcie},  {"SATA 3", Disk::DriveProtocol::unknown},
    };
    for (const auto& [text, protocol] : protocols)
        EXPECT_EQ(described({{"DADeviceProtocol", text}})->deviceProtocol(), protocol) << text;
}

TEST_F(DriveTest, ReadsKindSerialAndTrimFromTheDeviceTwoLevelsUp)
{
    struct Row {
        std::string model;
        PropertyTable device;
        Disk::DriveKind kind;
        std::optional<std::string> serial;
        std::optional<bool> trim;
    };
    const auto features = [](PropertyTable table) { return PropertyTable{{"IOStorageFeatures", std::move(table)}}; };
    const Row rows[] = {
        {"X HDD", {{"Medium Type", "Solid State"}, {"Serial Number", " 12 "}}, Disk::DriveKind::ssd, " 12 ", {}},
        {"X SSD", {{"Medium Type", "Rotational"}, {"Serial Number", 12}}, Disk::DriveKind::hdd, {}, {}},
        {"X SSD HDD", {{"Medium Type", "Tape"}}, Disk::DriveKind::ssd, {}, {}},
        {"X HDD", {}, Disk::DriveKind::hdd, {}, {}},
        {"X ssd", {}, Disk::DriveKind::unknown, {}, {}},
    };
    for (const Row& row : rows) {
        test::DiskTree tree;
        tree.media(tree.driver("AppleAHCI", row.model, row.device), "disk0", "Media");
        load(std::move(tree));
        const auto drive = tracked<Drive>("disk0");
        ASSERT_TRUE(drive);
        EXPECT_EQ(drive->driveKind(), row.kind) << row.model;
        EXPECT_EQ(drive->serial(), row.serial);
        EXPECT_EQ(drive->isTrimEnabled(), row.trim);
    }
    const std::pair<PropertyTable, std::optional<bool>> trims[] = {
        {features({{"Unmap", true}}), true},
        {features({{"Priority", true}}), false},
        {features({{"Unmap", true}, {"Priority", "high"}}), std::nullopt},
        {{{"IOStorageFeatures", 1}}, std::nullopt},
    };
    for (const auto& [device, trim] : trims) {
        test::DiskTree tree;
        tree.media(tree.driver("AppleAHCI", "X", {}, device), "disk0", "Media");
        load(std::move(tree));
        EXPECT_EQ(tracked<Drive>("disk0")->isTrimEnabled(), trim);
    }
}

TEST_F(DriveTest, DescribesItselfInSixEntries)
{
    load(test::oneOfEverything());
    using Entries = std::map<std::string, std::optional<std::string>>;
    EXPECT_EQ(tracked<Drive>("disk0")->descriptionDict(), (Entries{{"vendor", "Samsung"},
                                                                   {"model", "SAMSUNG SSD 850"},
                                                                   {"bsdName", "disk0"},
                                                                   {"interface", "ahci"},
                                                                   {"kind", "ssd"},
                                                                   {"protocol", "sata"}}));
    EXPECT_EQ(described({})->descriptionDict(), (Entries{{"vendor", "Unknown"},
                                                         {"model", std::nullopt},
                                                         {"bsdName", std::nullopt},
                                                         {"interface", "unknown"},
                                                         {"kind", "unknown"},
                                                         {"protocol", "unknown"}}));
}

TEST_F(DriveTest, ReadsItsCountersAfreshAndAMissingOneAsZero)
{
    auto& machine = load(test::oneOfEverything());
    const auto drive = tracked<Drive>("disk0");
    DriveStatistics expected{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    expected.readOperations = 7;
    expected.writeBytes = 4096;
    EXPECT_EQ(drive->statistics(), expected);

    const std::uint64_t driver = 3;
    machine.current[driver] = {{"Statistics", PropertyTable{{"Operations (Read)", 8}}}};
    EXPECT_EQ(drive->statistics()->readOperations, 8) << "although no event was told";
    const char* const counts[] = {"Operations", "Latency Time", "Bytes", "Total Time", "Errors", "Retries"};
    PropertyTable all;
    int next = 100;
    for (const std::string count : counts) {
        all[count + " (Read)"] = ++next;
        all[count + " (Write)"] = ++next;
    }
    machine.current[driver] = {{"Statistics", all}};
    EXPECT_EQ(drive->statistics(), (DriveStatistics{101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112}));
    machine.current.clear();

    const PropertyTable beyondDouble = {{"Operations (Read)", (std::uint64_t{1} << 53U) + 1}};
    machine.change(driver, {{"Statistics", beyondDouble}});
    settle();
    EXPECT_EQ(drive->statistics()->readOperations, std::ldexp(1.0, 53));
    for (const PropertyTable& properties :
         {PropertyTable{}, PropertyTable{{"Statistics", 5}},
          PropertyTable{{"Statistics", PropertyTable{{"Operations (Read)", 1}, {"Class", "driver"}}}}}) {
        machine.change(driver, properties);
        settle();
        EXPECT_FALSE(drive->statistics());
    }
    machine.change(driver, {{"Statistics", PropertyTable{}}});
    settle();
    EXPECT_EQ(drive->statistics(), (DriveStatistics{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    machine.remove(driver);
    settle();
    EXPECT_FALSE(drive->statistics()) << "its entry is gone";
}
