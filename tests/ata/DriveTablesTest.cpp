// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/DriveTables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>

namespace vantorel {
namespace {

ATADeviceInfo device(const std::string& model, const std::string& firmware = "")
{
    return {.model = model, .serial = "", .firmware = firmware};
}

DriveTable tableOf(std::string name, std::span<const drive_settings> rows)
{
    return {.name = std::move(name), .revision = revisionOf(rows), .rows = rows, .lines = {}, .texts = {}};
}

TEST(DriveTables, TellTheirRevisions)
{
    EXPECT_EQ(builtInDriveTable().revision, "4591 2017-11-04 22:40:53Z");
    EXPECT_EQ(recentDriveTable().revision, "7.5 2026-08-19");
    const std::pair<drive_settings, const char*> cases[] = {
        {{"VERSION: 7.3 $Id: drivedb.h 5319 2022-02-19 17:48:34Z x $", "-", "-", "", ""}, "7.3"},
        {{"$Id: drivedb.h 4591 2017 x $", "-", "-", "", ""}, "4591 2017 x"},
        {{"DEFAULT", "-", "-", "", ""}, ""},
        {{"a family", "a", "", "", ""}, ""},
    };
    for (const auto& [row, revision] : cases)
        EXPECT_EQ(revisionOf({&row, 1}), revision);
    EXPECT_EQ(revisionOf({}), "");
}

TEST(DriveTables, ASupplementIsAskedWhereTheBuiltInTableHasNoRow)
{
    constexpr const char* recent = "WDC WUH721818ALE6L4";
    EXPECT_EQ(getDriveSettings(device(recent)), nullptr);
    EXPECT_EQ(knownDrive(device(recent)).table, nullptr);
    EXPECT_EQ(knownDrive(device(recent)).attribute(22).source, DefinitionSource::nothing);
    addDriveTable(recentDriveTable(), DriveTableUse::supplement);

    const KnownDrive drive = knownDrive(device(recent));
    ASSERT_TRUE(drive.table && drive.row);
    EXPECT_EQ(drive.table->name, "recent");
    EXPECT_EQ(drive.row, &recentDriveTable().rows[drive.rowIndex]);
    EXPECT_EQ(drive.row->modelfamily, "Western Digital Ultrastar DC HC550");
    EXPECT_EQ(getDriveSettings(device(recent)), drive.row);
    EXPECT_EQ(drive.attribute(22).definition.name, "Helium_Level") << "by the table's own default row";
    EXPECT_EQ(drive.attribute(22).source, DefinitionSource::defaultRow);

    EXPECT_EQ(knownDrive(device("APPLE SSD SM0256G")).table->name, "built-in");
    EXPECT_EQ(getDriveSettings(device("ACME 1000")), nullptr);
}

TEST(DriveTables, ARowThatDescribesNoDrivesAnswersOnlyWhereNoOtherRowDoes)
{
    EXPECT_EQ(getDriveSettings(device("NEW-1", "A-1")), &builtin_knowndrives[0]);
    EXPECT_EQ(knownDrive(device("NEW-1", "A-1")).row, nullptr);
    static constexpr drive_settings rows[] = {{"New", "NEW-1", "", "", ""}};
    addDriveTable(tableOf("more", rows), DriveTableUse::supplement);
    EXPECT_EQ(getDriveSettings(device("NEW-1", "A-1")), &rows[0]);
    EXPECT_EQ(knownDrive(device("NEW-1", "A-1")).rowIndex, 0U);
    EXPECT_EQ(getDriveSettings(device("NEW-2", "A-1")), &builtin_knowndrives[0]);
}

TEST(DriveTables, AreAskedInTheOrderOfTheirUse)
{
    static constexpr drive_settings rows[] = {{"Apple", "APPLE SSD SM0256G", "", "", "-v 5,raw8"},
                                              {"New", "NEW", "", "", ""},
                                              {"DEFAULT", "-", "-", "", "-v 9,raw8,Nine"}};
    const auto tables = std::span(rows);
    addDriveTable(tableOf("s1", tables.subspan(1)), DriveTableUse::supplement);
    addDriveTable(tableOf("o1", tables.first(1)), DriveTableUse::override);
    addDriveTable(tableOf("s2", tables.first(2)), DriveTableUse::supplement);
    addDriveTable(tableOf("o2", tables.first(2)), DriveTableUse::override);
    std::vector<std::string> names;
    for (const DriveTable* const table : driveTables())
        names.push_back(table->name);
    EXPECT_THAT(names, testing::ElementsAre("o1", "o2", "built-in", "s1", "s2"));

    const KnownDrive apple = knownDrive(device("APPLE SSD SM0256G"));
    EXPECT_EQ(apple.table->name, "o1");
    EXPECT_FALSE(apple.attribute(5).definition.name);
    EXPECT_EQ(apple.rawName(5, false), "Reallocated_Sector_Ct") << "o1 has no default row";
    EXPECT_EQ(knownDrive(device("XAPPLE SSD SM0256G")).table->name, "built-in");
    EXPECT_EQ(knownDrive(device("NEW")).table->name, "o2");
    EXPECT_EQ(knownDrive(device("NONE")).attribute(9).definition.name, "Power_On_Hours");
}

/// The families of a fleet as another reader of the same rows names them; empty for none.
std::map<std::string, std::string> familiesOfAFleet()
{
    std::map<std::string, std::string> families;
    std::ifstream file(VANTOREL_TEST_DATA "/fleet-families.tsv");
    for (std::string model, family; std::getline(file, model, '\t') && std::getline(file, family);)
        families[model] = family;
    return families;
}

std::string familyOf(const std::string& model)
{
    const drive_settings* const row = knownDrive(device(model)).row;
    return row ? std::string(row->modelfamily) : "";
}

TEST(DriveTables, NameTheFamiliesOfAFleetAsSmartctlDoes)
{
    const auto families = familiesOfAFleet();
    ASSERT_EQ(families.size(), 61U);
    std::map<std::string, std::string> builtIn;
    for (const auto& [model, family] : families)
        builtIn[model] = familyOf(model);

    addDriveTable(recentDriveTable(), DriveTableUse::supplement);
    std::map<std::string, std::string> others;
    for (const auto& [model, family] : families) {
        EXPECT_EQ(familyOf(model), builtIn[model].empty() ? family : builtIn[model]);
        if (familyOf(model) != family)
            others[model] = familyOf(model);
    }
    EXPECT_THAT(others,
                testing::ElementsAre(testing::Pair("TOSHIBA MG04ACA200E", "Toshiba 3.5\" MG04ACA... Enterprise HDD"),
                                     testing::Pair("TS32GMTS400", "SiliconMotion based SSDs"),
                                     testing::Pair("WDC WD20EFRX-68EUZN0", "Western Digital Red")))
        << "families whose names have changed since";

    addDriveTable(recentDriveTable(), DriveTableUse::override);
    for (const auto& [model, family] : families)
        EXPECT_EQ(familyOf(model), family);
}

TEST(UsbBridges, AreKnownByProductAndWhereRowsDifferByVersion)
{
    addDriveTable(recentDriveTable(), DriveTableUse::supplement);
    struct Case {
        std::uint16_t vendor, product, version;
        const char* type; ///< null where nothing is known
    };
    const Case cases[] = {
        {0x04b4, 0x6830, 0x0001, ""},           // a bridge that carries nothing
        {0x04b4, 0x6830, 0x0240, "usbcypress"}, //
        {0x04b4, 0x6830, 0x0002, nullptr},      // a version of which no row speaks
        {0x0930, 0x0b1b, 0x9999, "sat"},        // one row: the version plays no part
        {0x3538, 0x0902, 0x010f, "usbsunplus"}, //
        {0x3538, 0x0902, 0x0110, "sat"},        // the row without a version
        {0x152d, 0x0583, 0x0209, "sntjmicron"}, // the row for any other version
        {0x152d, 0x0583, 0x3202, "sat"},        //
        {0x2eb9, 0x9211, 0x0001, "sntrealtek"}, //
        {0x0001, 0x0001, 0x0001, nullptr},      //
    };
    for (const auto& [vendor, product, version, type] : cases) {
        const auto bridge = usbBridge(vendor, product, version);
        EXPECT_EQ(bridge.has_value(), type != nullptr) << std::hex << vendor << ':' << product;
        EXPECT_EQ(bridge ? bridge->type : "", type ? type : "")
            << std::hex << vendor << ':' << product << ' ' << version;
    }
    const auto bridge = usbBridge(0x04b4, 0x6830, 0x0240);
    EXPECT_EQ(bridge->name, "; Cypress CY7C68300B/C (AT2LP)");
    EXPECT_EQ(bridge->table->name, "recent");
    EXPECT_EQ(bridge->table->rows[bridge->rowIndex].modelregexp, "0x04b4:0x6830");
}

TEST(UsbBridges, TheBuiltInTableIsAskedLast)
{
    const auto old = usbBridge(0x0402, 0x5621, 0);
    ASSERT_TRUE(old);
    EXPECT_EQ(old->table->name, "built-in");
    EXPECT_EQ(old->rowIndex, 480U);
    static constexpr drive_settings rows[] = {{"USB: mine; ", "0x0402:0x5621", "", "", " -d sat,12 "}};
    addDriveTable(tableOf("more", rows), DriveTableUse::supplement);
    EXPECT_EQ(usbBridge(0x0402, 0x5621, 0)->type, "sat,12");
    EXPECT_EQ(usbBridge(0x0402, 0x5621, 0)->name, "mine;");
}

} // namespace
} // namespace vantorel
