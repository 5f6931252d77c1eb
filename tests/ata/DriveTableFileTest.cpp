// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/DriveTableFile.h"

#include "ata/TableSearch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <tuple>

namespace vantorel {
namespace {

using testing::ElementsAre;

std::vector<std::string> families(const DriveTableReading& reading)
{
    std::vector<std::string> names;
    for (const drive_settings& row : reading.table.rows)
        names.emplace_back(row.modelfamily);
    return names;
}

std::vector<std::string> faults(const DriveTableReading& reading)
{
    std::vector<std::string> texts;
    for (const auto& [line, text] : reading.faults)
        texts.push_back(std::to_string(line) + ' ' + text);
    return texts;
}

std::string row(const std::string& family, const std::string& model = "M")
{
    return "{\"" + family + "\", \"" + model + "\", \"\", \"\", \"\"},\n";
}

TEST(DriveTableFile, ReadsInitialisersAsACompilerDoes)
{
    std::ifstream file(VANTOREL_SOURCES "/ata/RecentDrives.inc");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const DriveTableReading reading = readDriveTable(text, "a file");
    EXPECT_TRUE(reading.faults.empty());
    EXPECT_EQ(reading.table.name, "a file");
    EXPECT_EQ(reading.table.revision, "7.5 2026-08-19");
    EXPECT_EQ(reading.table.matching, DriveTableMatching::whole);
    const auto compiled = recentDriveTable().rows;
    ASSERT_EQ(reading.table.rows.size(), compiled.size());
    for (std::size_t i = 0; i < compiled.size(); ++i) {
        const auto columns = [](const drive_settings& r) {
            return std::tie(r.modelfamily, r.modelregexp, r.firmwareregexp, r.warningmsg, r.presets);
        };
        EXPECT_EQ(columns(reading.table.rows[i]), columns(compiled[i])) << i;
    }
}

TEST(DriveTableFile, TakesCommentsPartsAndEscapesAnywhere)
{
    const DriveTableReading reading =
        readDriveTable("/* { \"no\" */ // {\n"
                       "{ \"A \\\"{1}\\\" \" // }\n  \"// B\", /* x\n */\"a\\\\.b\"\n, \"\","
                       "\"one\\ntwo\\t\\?\" , \"-v 9,minutes\" , }\n ,\n{\"\",\"m\",\"\",\"\",\"\"}",
                       "");
    EXPECT_TRUE(reading.faults.empty());
    ASSERT_EQ(reading.table.rows.size(), 2U);
    const drive_settings& first = reading.table.rows[0];
    EXPECT_EQ(first.modelfamily, "A \"{1}\" // B");
    EXPECT_EQ(first.modelregexp, "a\\.b");
    EXPECT_EQ(first.warningmsg, "one\ntwo\t?");
    EXPECT_EQ(first.presets, "-v 9,minutes");
    EXPECT_EQ(first.presets.data()[first.presets.size()], '\0');
    EXPECT_THAT(reading.table.lines, ElementsAre(2U, 7U));
    EXPECT_EQ(reading.table.revision, "");
}

TEST(DriveTableFile, ABadRowIsLostAloneAndItsLineTold)
{
    const std::string nul(1, '\0');
    const std::tuple<std::string, const char*> cases[] = {
        {R"({"x", "a\.b{", "}", "", ""},)", "2 a backslash that escapes nothing: two stand for one"},
        {R"({"x", "a, "", "", ""},)", "2 a text that does not end on its line"},
        {"{\"x\",\n \"a, \n\"\", \"\", \"\"},", "3 a text that does not end on its line"},
        {R"({"x", 5, "", "", ""},)", "2 a column must be a text in quotation marks"},
        {R"({"x", "a" "", "", ""},)", "2 a row of 4 columns in place of 5"},
        {R"({"x", "a", "", "", "", "", "", ""},)", "2 a row of 6 columns in place of 5"},
        {R"({"x", "a"; "", "", ""},)", "2 a column must end with a comma or the row"},
        {R"({"x", "", "", "", ""},)", "2 a row without a model expression"},
        {R"({"x", "a", "", "", "")", "3 a column must end with a comma or the row"},
        {"{\"x\", \"a" + nul + "\", \"\", \"\", \"\"},", "2 a NUL character"},
        {"{\"x\", \"" + std::string(65'537, 'a') + "\", \"\", \"\", \"\"},", "2 a column is longer than 64 KiB"},
        {R"(const table[] = "{" ;)", "2 no row begins here"},
    };
    for (const auto& [bad, fault] : cases) {
        const auto reading = readDriveTable(row("first") + bad + '\n' + row("last") + row("very last"), "");
        EXPECT_THAT(families(reading), ElementsAre("first", "last", "very last")) << bad.substr(0, 40);
        EXPECT_THAT(faults(reading), ElementsAre(fault)) << bad.substr(0, 40);
    }
    EXPECT_THAT(faults(readDriveTable(row("a") + "{\"b\",", "")), ElementsAre("2 the row does not end"));
    EXPECT_THAT(faults(readDriveTable(row("a") + "/*" + row("b"), "")), ElementsAre("2 a comment that does not end"));
    EXPECT_EQ(readDriveTable(row("\xFFz"), "").table.rows[0].modelfamily, "\uFFFDz");
}

TEST(DriveTableFile, ReadsLinesOfColumns)
{
    const std::string heading = "index\tmodelfamily\tmodelregexp\tfirmwareregexp\twarningmsg\tpresets\n";
    const auto reading = readDriveTable(heading + "0\tdrivedb.h 8\t-\t-\t\t\r\n\n"
                                                  "7\tA \"b\"\tX\\.\t1\tw\t-v 9,minutes\n"
                                                  "short\tA\tX\t\t\n"
                                                  "long\tA\tX\t\t\t\t\n"
                                                  "9\tA\t\t\t\t\n"
                                                  "10\tlast\tZ\t\t\t",
                                        "");
    EXPECT_EQ(reading.table.revision, "8");
    EXPECT_THAT(families(reading), ElementsAre("drivedb.h 8", "A \"b\"", "last"));
    EXPECT_EQ(reading.table.rows[1].modelregexp, "X\\.");
    EXPECT_EQ(reading.table.rows[1].firmwareregexp, "1");
    EXPECT_EQ(reading.table.rows[1].warningmsg, "w");
    EXPECT_EQ(reading.table.rows[1].presets, "-v 9,minutes");
    EXPECT_THAT(reading.table.lines, ElementsAre(2U, 4U, 8U));
    EXPECT_THAT(faults(reading), ElementsAre("5 a row of 4 columns in place of 5", "6 a row of 6 columns in place of 5",
                                             "7 a row without a model expression"));
}

TEST(DriveTableFile, AHundredThousandRowsAreSearchedInBoundedSteps)
{
    std::string text;
    for (int i = 0; i < 100'000; ++i)
        text += row("F" + std::to_string(i), "((A|.)*)*x[BC]");
    text += row("the last", "ACME .*");
    const DriveTableReading reading = readDriveTable(text, "");
    ASSERT_EQ(reading.table.rows.size(), 100'001U);
    ata::TableSearch search(reading.table.rows, DriveTableMatching::whole);
    EXPECT_EQ(search.find("ACME 1", ""), 100'000U) << "the others need an x";
    ata::SearchSteps steps;
    EXPECT_EQ(search.find(ata::Question("AAAAAAAAAAAAAAAAAAAAAAAAAAA xX", ""), steps), ata::TableSearch::noRow);
    EXPECT_EQ(steps.taken, ata::SearchSteps::mostInAll + 1);
}

TEST(DriveTableFile, HasBounds)
{
    std::string text;
    for (int i = 0; i < 1'500; ++i)
        text += "{5},\n";
    const auto many = readDriveTable(text, "");
    EXPECT_EQ(many.faults.size(), 1'001U);
    EXPECT_EQ(many.faults.back().text, "and 500 further faults");

    const auto large = readDriveTable(std::string((64U << 20) + 1, ' '), "");
    EXPECT_THAT(faults(large), ElementsAre("1 the file is larger than 64 MiB"));

    text.clear();
    for (int i = 0; i < 500'002; ++i)
        text += row("");
    const auto rows = readDriveTable(text, "");
    EXPECT_EQ(rows.table.rows.size(), 500'000U);
    EXPECT_THAT(faults(rows), ElementsAre("500001 more than 500000 rows", "500002 more than 500000 rows"));
}

TEST(DriveTableFile, AnAddedFileOutlivesItsReading)
{
    addDriveTable(readDriveTable(row("New", "NEW"), "file").table, DriveTableUse::supplement);
    const KnownDrive drive = knownDrive({.model = "NEW", .serial = "", .firmware = ""});
    ASSERT_TRUE(drive.row);
    EXPECT_EQ(drive.row->modelfamily, "New");
    EXPECT_EQ(drive.table->lines[drive.rowIndex], 1U);
}

} // namespace
} // namespace vantorel
