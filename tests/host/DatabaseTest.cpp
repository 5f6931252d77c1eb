// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>

namespace vantorel {
namespace {

using Json = nlohmann::json;
using test::runCommand;
using testing::HasSubstr;

TEST(DatabaseCommand, ShowsTheRowAndEveryResolvedDefinition)
{
    const auto run = runCommand("db show 'SAMSUNG SV4012H' RM100-08 --json");
    EXPECT_EQ(run.status, 0);
    const Json row = Json::parse(run.out);
    EXPECT_EQ(row["row"], 92);
    EXPECT_EQ(row["table"], Json::parse(R"({"name":"built-in","revision":"4591 2017-11-04 22:40:53Z"})"));
    EXPECT_EQ(row["modelfamily"], "");
    EXPECT_EQ(row["firmwareregexp"], "RM100-08");
    EXPECT_EQ(row["presets"], "-v 9,halfminutes -F samsung");
    EXPECT_EQ(row["definitions"].size(), 64U);
    EXPECT_EQ(row["definitions"][8], Json::parse(R"({"id":9,"name":"Power_On_Half_Minutes","format":"halfmin2hour",
                                                     "byteorder":"","flags":[],"source":"row"})"));
    EXPECT_EQ(row["definitions"][9]["flags"], Json::array({"hddOnly"}));
    EXPECT_EQ(row["definitions"][9]["source"], "default");
}

TEST(DatabaseCommand, ANewerTableKnowsWhatTheBuiltInOneDoesNot)
{
    const auto run = runCommand("db show 'WDC WUH721818ALE6L4'");
    EXPECT_THAT(run.out, testing::StartsWith("Table       recent, 7.5 2026-08-19\nRow         316\n"
                                             "Family      Western Digital Ultrastar DC HC550\n"));
    EXPECT_THAT(run.out, HasSubstr("\nFirmware    (any)\nPresets     (none)\n\n ID  Name"));
}

TEST(DatabaseCommand, ATableOfTheUserIsAskedFirstAndItsFaultsAreTold)
{
    const test::TemporaryFolder folder;
    const std::string file =
        folder.write("own.h", "{ \"VERSION: 9.9 2030-01-02\", \"-\", \"-\", \"\", \"\" },\n"
                              "{ \"Mine\", \"WDC WUH.*\", \"\", \"Beware\", \"-v 5,raw48,Mine\" },\n"
                              "{ \"cut off\", },\n");
    const auto run = runCommand("db show 'WDC WUH721818ALE6L4' --drive-table " + file);
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr("\nFamily      Mine\n"));
    EXPECT_THAT(run.out, HasSubstr("\nWarning     Beware\n"));
    EXPECT_EQ(run.err, "vantorel: " + file + ": rows that cannot be read: 1; `vantorel db lint` tells which\n");

    setenv("VANTOREL_DRIVE_TABLE", file.c_str(), 1);
    const auto lint = runCommand("db lint");
    EXPECT_EQ(lint.status, 4);
    EXPECT_THAT(lint.out, testing::StartsWith(file + ": line 3: "));
    EXPECT_THAT(runCommand("db search beware").out, HasSubstr("Mine"));
    setenv("VANTOREL_DRIVE_TABLE", folder.write("none.h", "// nothing\n").c_str(), 1);
    EXPECT_THAT(runCommand("db lint").err, HasSubstr("none.h: holds no rows of a drive table\n"));
}

TEST(DatabaseCommand, AModelOfNoRowHasNulls)
{
    const Json row = Json::parse(runCommand("db show 'No Such Drive' --json").out);
    for (const char* key : {"row", "modelfamily", "modelregexp", "firmwareregexp", "warningmsg", "presets", "table"})
        EXPECT_TRUE(row.at(key).is_null()) << key;
    EXPECT_EQ(row["definitions"].size(), 64U);
    EXPECT_THAT(runCommand("db show 'No Such Drive'").out, HasSubstr("No row matches"));
}

TEST(DatabaseCommand, SearchesEveryColumnInAnyCase)
{
    EXPECT_THAT(runCommand("db search 'APPLE ssd SM'").out, HasSubstr("No row holds"));
    EXPECT_THAT(runCommand("db search unknown_APPLE").out,
                testing::ContainsRegex("built-in +4  Apple SD/SM/TS...E/F/G SSDs .*\nrecent +10  Apple"));
    EXPECT_THAT(runCommand("db search 'usb: ; ali'").out,
                testing::ContainsRegex("built-in  480  USB: ; ALi .*\nrecent +598  USB: ; ALi"));
}

TEST(DatabaseCommand, LintNamesRowsThatAreNeverReached)
{
    const auto run = runCommand("db lint");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(
        run.out,
        HasSubstr("built-in: row 9 (Micron M500DC/M510DC Enterprise SSDs): every drive that it describes is matched "
                  "earlier, by row 8\n"));
    EXPECT_THAT(run.out, HasSubstr("built-in, 4591 2017-11-04 22:40:53Z: 681 rows, 3 findings\n"));
}

TEST(DatabaseCommand, TheVersionTellsTheTablesRevision)
{
    EXPECT_EQ(runCommand("--version").out, "vantorel 0.1.0\ndrive table: built-in, revision 4591 2017-11-04 22:40:53Z\n"
                                           "drive table: recent, revision 7.5 2026-08-19\n"
                                           "numbers: en_US\n");
}

} // namespace
} // namespace vantorel
