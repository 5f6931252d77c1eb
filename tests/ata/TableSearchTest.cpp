// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/TableSearch.h"

#include "ata/LiteralAlternatives.h"
#include "vantorel/ata/DriveTableLint.h"
#include "vantorel/base/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace vantorel {
namespace {

using enum DriveTableMatching;
using ata::literalAlternatives;
using ata::TableSearch;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

std::vector<std::string_view> requiredLiterals(std::string_view expression)
{
    std::vector<std::string_view> literals;
    ata::appendRequiredLiterals(expression, literals);
    return literals;
}

TEST(TableSearch, AnExpressionThatDoesNotCompileMakesItsRowUnmatchable)
{
    const drive_settings rows[] = {{"a", "X(", "", "", ""}, {"b", "X", "(", "", ""}, {"c", "X", "", "", ""}};
    TableSearch table(rows, anywhere);
    EXPECT_EQ(table.find("X", "("), 2U);
    EXPECT_EQ(table.find("Y", ""), TableSearch::noRow);
    EXPECT_THAT(ata::faultOf("X("), testing::Optional(HasSubstr("at character 2")));
}

TEST(TableSearch, ASlowRowIsLostAndManyOfThemEndTheLookUp)
{
    using Steps = ata::SearchSteps;
    const drive_settings slow{"slow", "(a*)*(a*)*(a*)*b", "", "", ""};
    std::vector<drive_settings> rows = {slow, {"next", "a*!b", "", "", ""}};
    const std::string text = std::string(60'000, 'a') + "!b";
    Steps steps;
    EXPECT_EQ(TableSearch(rows, whole).find(ata::Question(text.substr(60'000 - 60), ""), steps), 1U);
    EXPECT_GT(steps.taken, Steps::mostInRow);
    EXPECT_LT(steps.taken, Steps::mostInRow + 100);

    rows.insert(rows.begin(), 2 * Steps::mostInAll / Steps::mostInRow, slow);
    for (const auto matching : {anywhere, whole}) {
        Steps all;
        EXPECT_EQ(TableSearch(rows, matching).find(ata::Question(text, ""), all), TableSearch::noRow);
        EXPECT_EQ(all.taken, Steps::mostInAll + 1);
    }
}

TEST(TableSearch, RealModelsNeedFewSteps)
{
    for (const DriveTable* const table : {&builtInDriveTable(), &recentDriveTable()}) {
        TableSearch search(table->rows, table->matching);
        for (const char* model : {"WDC WD5000KMVV-11TK7S1", "ACME 1000", "SanDisk SSD PLUS 240 GB"}) {
            ata::SearchSteps steps;
            (void)search.find(ata::Question(model, "1.0"), steps);
            EXPECT_LT(steps.taken, ata::SearchSteps::mostInAll / 100) << model;
        }
    }
}

TEST(TableSearch, AWholeMatchIsThatOfTheTextWithoutTheBlanksAtItsEnds)
{
    const drive_settings rows[] = {{"VERSION: 1", "-", "-", "", ""}, {"DEFAULT", "-", "-", "", ""},
                                   {"$gone", "X.*", "", "", ""},     {"exact", "XY", "1.?", "", ""},
                                   {"anchors", "^XYZ$", "", "", ""}, {"either", "A|XY.*", "", "", ""}};
    TableSearch table(rows, whole);
    const std::tuple<const char*, const char*, std::size_t> cases[] = {{" xy\t", "12 ", 3},
                                                                       {"XY", "123", 5},
                                                                       {"XYZ", "", 4},
                                                                       {"aXY", "", TableSearch::noRow},
                                                                       {"-", "-", TableSearch::noRow},
                                                                       {"XYZZ", "", 5},
                                                                       {"DEFAULT", "", TableSearch::noRow}};
    for (const auto& [model, firmware, row] : cases)
        EXPECT_EQ(table.find(model, firmware), row) << model;
}

TEST(TableSearch, RequiredLiteralsAreOutsideGroupsAndQuantifiers)
{
    EXPECT_THAT(requiredLiterals("APPLE SSD (S[DM]|TS)0?(128|256)[EFG]"), ElementsAre("APPLE SSD "));
    EXPECT_THAT(requiredLiterals("SandForce 1st Ed\\.|ADATA SSD S(396|510)"),
                ElementsAre("SandForce 1st Ed", "ADATA SSD S"));
    EXPECT_THAT(requiredLiterals("(a|b)c[]x)]de?f{2}gh*ij"), ElementsAre("ij"));
    EXPECT_THAT(requiredLiterals("WDC WD(2|5)000AAKS-.*"), ElementsAre("000AAKS-")) << "rarer than the maker's name";
    EXPECT_THAT(requiredLiterals("abcd.efgh.ijk|abc.def"), ElementsAre("efgh", "abc"));
    EXPECT_THAT(requiredLiterals("[]]abcd|[^]]efgh|([)])ijkl"), ElementsAre("abcd", "efgh", "ijkl"));
    EXPECT_THAT(requiredLiterals("[^]a]b\\(c\\dx"), ElementsAre("(c"));
    EXPECT_THAT(requiredLiterals("(abc)?"), ElementsAre(""));
    EXPECT_THAT(requiredLiterals("ab\u00E9?"), ElementsAre("ab")) << "the character may be missing whole";
    EXPECT_THAT(requiredLiterals("ab{"), ElementsAre("a"));
    EXPECT_THAT(requiredLiterals("ab{|c}|"), ElementsAre("a", "c", "")) << "a brace that is no count";
    EXPECT_THAT(requiredLiterals("(a"), ElementsAre(""));
}

TEST(TableSearch, NoRowIsRuledOutThatItsExpressionMatches)
{
    for (const drive_settings& row : builtin_knowndrives) {
        const auto texts = literalAlternatives(row.modelregexp, 512, anywhere);
        for (const std::string& text : texts.value_or(std::vector<std::string>())) {
            const auto literals = requiredLiterals(row.modelregexp);
            EXPECT_TRUE(std::ranges::any_of(
                literals,
                [&](std::string_view literal) { return base::containsIgnoringCase(text, base::lowercased(literal)); }))
                << row.modelregexp << " needs none of its literals in " << text;
            TableSearch alone(std::span(&row, 1), anywhere);
            const bool matches = alone.find(text, "") == 0;
            EXPECT_TRUE(matches || !row.firmwareregexp.empty()) << row.modelregexp << " does not match " << text;
        }
    }
}

TEST(LiteralAlternatives, ListsWhatAnExpressionStandsFor)
{
    EXPECT_THAT(*literalAlternatives("M4-(0[12]|X)?", 10, anywhere),
                UnorderedElementsAre("M4-01", "M4-02", "M4-X", "M4-"));
    EXPECT_THAT(*literalAlternatives("AB.*|C\\.[x-z]{2}D", 20, anywhere), testing::SizeIs(10));
    EXPECT_THAT(*literalAlternatives("C|AB.*", 10, anywhere), ElementsAre("C", "AB")) << "at the end, too";
    EXPECT_FALSE(literalAlternatives("AB.*C", 10, anywhere));
    EXPECT_THAT(*literalAlternatives("", 10, anywhere), ElementsAre(""));
    EXPECT_THAT(*literalAlternatives("a{3}b{0}[cde]", 3, whole), ElementsAre("aaac", "aaad", "aaae"));
    EXPECT_FALSE(literalAlternatives("a{4}", 3, whole));
    EXPECT_FALSE(literalAlternatives("[a-d]", 3, whole));
    EXPECT_FALSE(literalAlternatives("a|b|c|d", 3, whole));
    EXPECT_THAT(*literalAlternatives("[]a-]x", 10, whole), UnorderedElementsAre("]x", "-x", "ax"));
    for (const char* open : {"a.b", "a*", "[^a]", "a+", "(a.*)b", "(a", "a)", "[a", "a{2", "a{1,2}", "\\d", "^a",
                             "[a-z]{3}", "[b-a]", "[\u00E9]"})
        EXPECT_FALSE(literalAlternatives(open, 1000, anywhere)) << open;
    EXPECT_FALSE(literalAlternatives(std::string(5000, '('), 10, anywhere));
    EXPECT_FALSE(literalAlternatives("(a{200}){200}", 1000, anywhere)) << "longer than any model";
    EXPECT_FALSE(literalAlternatives("[a-z]{2}" + base::replacingAll(std::string(200, '-'), "-", "()"), 1000, anywhere))
        << "few texts, much work";
    EXPECT_FALSE(literalAlternatives("AB.*", 20, whole));
}

std::vector<std::string> lint(std::span<const drive_settings> rows, DriveTableMatching matching)
{
    std::vector<std::string> texts;
    for (const auto& finding :
         lintDriveTable({.name = "", .revision = "", .rows = rows, .matching = matching, .lines = {}, .texts = {}}))
        texts.push_back(std::to_string(finding.row) + ' ' + finding.text);
    return texts;
}

TEST(DriveTableLint, FindsEachKindOfFault)
{
    const drive_settings rows[] = {
        {"first", "WD(10|20)", "", "", "-v 9,raw48"},
        {"covered", "XWD10[AB]", "1|2", "", ""},
        {"open", "WD10.C", "", "", ""},
        {"by firmware", "ST1", "A", "", ""},
        {"other firmware", "ST1", "A|B", "", ""},
        {"same firmware", "ST1", "XAX", "", ""},
        {"bad", "a(", "", "", "-d sat"},
        {"presets", "b", "", "", "-v 9 -v 1,raw48 -v 2,raw49 -v 3,raw48"},
    };
    EXPECT_THAT(lint(rows, anywhere),
                ElementsAre(HasSubstr("1 every drive that it describes is matched earlier, by row 0"),
                            HasSubstr("5 every drive that it describes is matched earlier, by row 3"),
                            HasSubstr("6 the model expression does not compile"),
                            HasSubstr("7 the presets are read only up to \"-v 2,raw49\""),
                            HasSubstr("7 the preset \"-v 9\" cannot be read")));
}

TEST(DriveTableLint, KnowsWhatAWholeMatchCovers)
{
    const drive_settings rows[] = {
        {"", "-", "-", "", ""},      {"", "WD1", "", "", ""},          {"", "WD1.*", "", "", ""},
        {"", "WD(1|2)", "", "", ""}, {"", "ST1", "A?", "", ""},        {"", "ST1", "", "", ""},
        {"", "WD1.*", "", "", ""},   {"USB: ", "0x1:0x2", "", "", ""}, {"USB: ", "0x1:0x[2]", "0x3", "", ""},
        {"", "WD[1]", "", "", ""}};
    EXPECT_THAT(lint(rows, whole), ElementsAre("6 it has the expressions of row 2",
                                               "9 every drive that it describes is matched earlier, by row 1"));
}

TEST(DriveTableLint, EndsOnLargeTablesAndSlowExpressions)
{
    std::vector<std::string> texts;
    for (int i = 0; i < 20'000; ++i)
        texts.push_back("DRIVE " + std::to_string(i));
    std::vector<drive_settings> rows(100, {"", "(D|.*)*!", "", "", ""});
    for (const std::string& text : texts)
        rows.push_back({"", text, "", "", ""});
    const auto findings =
        lintDriveTable({.name = "", .revision = "", .rows = rows, .matching = whole, .lines = {}, .texts = {}});
    ASSERT_EQ(findings.size(), 100U) << "the doubles of the first row, and the end of the search";
    EXPECT_EQ(findings.back().kind, DriveTableFinding::Kind::unchecked);
}

} // namespace
} // namespace vantorel
