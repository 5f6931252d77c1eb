// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/DriveDatabase.h"

#include "ata/PresetReader.h"
#include "ata/TableSearch.h"
#include "support/Digest.h"
#include "vantorel/ata/DriveTableLint.h"
#include "vantorel/ata/DriveTables.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vantorel {
namespace {

constexpr std::size_t noRow = ata::TableSearch::noRow;

std::size_t rowOf(const std::string& model, const std::string& firmware = "")
{
    const drive_settings* const row = getDriveSettings({.model = model, .serial = "", .firmware = firmware});
    return row ? static_cast<std::size_t>(row - builtin_knowndrives.data()) : noRow;
}

TEST(DriveDatabase, TheTableIsWhole)
{
    const auto families = std::span(builtin_knowndrives).subspan(2, 476);
    const auto usb = std::span(builtin_knowndrives).subspan(478);
    const auto count = [](auto rows, auto member, auto test) { return std::ranges::count_if(rows, test, member); };
    const auto filled = [](std::string_view text) { return !text.empty(); };
    EXPECT_EQ(count(families, &drive_settings::modelfamily, filled), 476 - 19);
    EXPECT_EQ(count(families, &drive_settings::firmwareregexp, filled), 37);
    EXPECT_EQ(count(families, &drive_settings::presets, filled), 155);
    EXPECT_EQ(count(families, &drive_settings::warningmsg, filled), 29);
    EXPECT_EQ(usb.size(), 203U);
    EXPECT_EQ(count(usb, &drive_settings::modelfamily, [](std::string_view text) { return text.starts_with("USB: "); }),
              203);
    EXPECT_EQ(count(usb, &drive_settings::firmwareregexp, filled), 6);
    EXPECT_EQ(count(usb, &drive_settings::presets, filled), 183);
    EXPECT_EQ(count(usb, &drive_settings::warningmsg, filled), 0);

    EXPECT_TRUE(builtin_knowndrives[0].modelfamily.find("4591") != std::string_view::npos);
    EXPECT_EQ(builtin_knowndrives[2].modelfamily, "Apacer SSD");
    EXPECT_EQ(builtin_knowndrives[523].modelfamily, "USB: LaCie d2 Quadra; Oxford OXUF934SSA-LQAG ")
        << "with its blank";
    EXPECT_EQ(builtin_knowndrives[680].modelfamily, "USB: ; ");
    EXPECT_EQ(builtin_knowndrives[4].modelregexp, "APPLE SSD (S[DM]|TS)0?(128|256|512|768|1024)[EFG]");
    EXPECT_TRUE(builtin_knowndrives[4].presets.ends_with("Host_Writes_MiB "));
}

// The digests are those of the tables as their source publishes them, but for the warnings of the recent one.
TEST(DriveDatabase, TheRowsAreThoseOfTheirSource)
{
    const auto digest = [](const DriveTable& table) {
        test::Digest all;
        for (const drive_settings& row : table.rows)
            all << row.modelfamily << row.modelregexp << row.firmwareregexp << row.warningmsg << row.presets;
        return all.value();
    };
    EXPECT_EQ(digest(builtInDriveTable()), 9296966457261096840U);
    EXPECT_EQ(digest(recentDriveTable()), 5638616575866173701U);
    test::Digest names;
    for (const auto& [name, format] : format_names)
        names << name << std::to_string(static_cast<unsigned>(format));
    for (const auto& [oldArgument, currentArgument] : vendor_opt_map)
        names << oldArgument << currentArgument;
    EXPECT_EQ(names.value(), 13692269130857179527U);
}

TEST(DriveDatabase, EveryExpressionCompilesAndEveryPresetIsReadWhole)
{
    for (const DriveTable* const table : {&builtInDriveTable(), &recentDriveTable()}) {
        for (const DriveTableFinding& finding : lintDriveTable(*table))
            EXPECT_EQ(finding.kind, DriveTableFinding::Kind::unreachable) << finding.row << ": " << finding.text;
    }
    EXPECT_EQ(std::ranges::count_if(getDefaultDefinitions(), [](const auto& slot) { return slot.has_value(); }), 64);
}

TEST(DriveDatabase, TheFirstMatchingRowWins)
{
    const struct {
        const char* model;
        const char* firmware;
        std::size_t row;
    } cases[] = {
        {"APPLE SSD SM0256G", "any", 4},
        {"apple ssd sm0256g", "", 4},
        {"XAPPLE SSD SM0256GX", "", 4},
        {"8GB SATA Flash Drive", "SFDDA01C", 2},
        {"8GB SATA Flash Drive", "XYZ", noRow},
        {"8GB SATA Flash Drive", "", noRow},
        {"WDC WD5000AAKS-00TMA0", "12.01C01", 426},
        {"WDC WD5000AAKS-00TMA0", "12-01C01", 0}, // both hold a hyphen
        {"DEFAULT", "anything", 1},
        {"default", "", noRow},
        {"0x0402:0x5621", "", 480},
        {"SAMSUNG SV4012H", "RM100-08", 92},
        {"SAMSUNG SV4012H", "", 93},
        {"", "", noRow},
        {"No Such Drive", "1.0", noRow},
    };
    for (const auto& [model, firmware, row] : cases)
        EXPECT_EQ(rowOf(model, firmware), row) << model << " / " << firmware;
}

TEST(DriveDatabase, TheBordersOfTheTextsOfAQuestionCount)
{
    const std::string nul(1, '\0');
    EXPECT_EQ(rowOf("8GB SATA Flash Drive" + nul, "SFDDA01C"), 2U);
    EXPECT_EQ(rowOf("8GB SATA Flash Drive", nul + "SFDDA01C"), 2U);
    EXPECT_EQ(rowOf("8GB SATA Flash Drive" + nul + "SFDDA01C", ""), noRow);
    EXPECT_EQ(rowOf("8GB SATA Flash Drive", "SFDDA01C"), 2U);
}

TEST(DriveDatabase, AnswersStayTheSameHoweverManyAreAsked)
{
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(rowOf("APPLE SSD SM0256G" + std::to_string(i)), 4U);
    EXPECT_EQ(rowOf("APPLE SSD SM0256G"), 4U);
    EXPECT_EQ(rowOf("8GB SATA Flash Drive", "SFDDA01C"), 2U);
    EXPECT_EQ(rowOf("8GB SATA Flash Drive", "SF"), noRow);
}

TEST(DriveDatabase, HostileTextsAreSearchedInBoundedTime)
{
    std::string repeated;
    while (repeated.size() < 10'000)
        repeated += "SAMSUNG SSD PM810 ST9DMKINGSTON SV300S3";
    (void)rowOf(repeated, repeated);
    (void)rowOf(std::string(10'000, 'S'));
    EXPECT_EQ(rowOf(std::string("APPLE SSD\0 SM0256G", 18)), noRow);
    EXPECT_EQ(rowOf("\xFF\xC0 APPLE SSD SM0256G \x80"), 4U);
    EXPECT_EQ(rowOf("\xE2\x84\xAAINGSTON SSDNow 40GB"), 41U) << "the Kelvin sign is a capital K";
}

TEST(DriveDatabase, ARowsDefinitionReplacesTheDefaultOneWhole)
{
    const auto& phison = parsePresets(builtin_knowndrives[13].presets);
    EXPECT_EQ(phison[5]->name, "Retired_Block_Count") << "the later of two options";
    KnownDrive drive = knownDrive({.model = "SAMSUNG SV4012H", .serial = "", .firmware = "RM100-08"});
    EXPECT_EQ(drive.table, driveTables().at(0));
    EXPECT_EQ(drive.rowIndex, 92U);
    EXPECT_EQ(drive.row, &builtin_knowndrives[92]);
    EXPECT_EQ(drive.attribute(9).definition.name, "Power_On_Half_Minutes");
    EXPECT_EQ(drive.attribute(9).source, DefinitionSource::row);
    EXPECT_EQ(drive.attribute(12).definition.name, "Power_Cycle_Count");
    EXPECT_EQ(drive.attribute(12).source, DefinitionSource::defaultRow);
    EXPECT_EQ(drive.attribute(99).definition, defaultDefinition());
    EXPECT_EQ(drive.attribute(99).source, DefinitionSource::nothing);
    EXPECT_EQ(defaultDefinition(),
              (ATASmartAttributeDefinition{"Unknown Attribute", ata_attr_raw_format::none, 0, ""}));

    drive = knownDrive({.model = "ST2000DX002-2DV164", .serial = "", .firmware = ""});
    EXPECT_FALSE(drive.attribute(240).definition.name);
    EXPECT_EQ(drive.rawName(240, false), "Head_Flying_Hours");
    EXPECT_EQ(drive.rawName(240, true), "Unknown_Attribute") << "what only spinning drives have";
}

} // namespace
} // namespace vantorel
