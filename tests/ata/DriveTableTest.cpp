// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/DriveTable.h"

#include "ata/LiteralAlternatives.h"
#include "vantorel/ata/DriveTableLint.h"
#include "vantorel/base/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace vantorel {
namespace {

using ata::DriveTable;
using ata::literalAlternatives;
using ata::requiredLiterals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

TEST(DriveTable, AnExpressionThatDoesNotCompileMakesItsRowUnmatchable)
{
    const drive_settings rows[] = {{"a", "X(", "", "", ""}, {"b", "X", "(", "", ""}, {"c", "X", "", "", ""}};
    DriveTable table(rows);
    EXPECT_EQ(table.find("X", "("), 2U);
    EXPECT_EQ(table.find("Y", ""), DriveTable::noRow);
    EXPECT_THAT(DriveTable::faultOf("X("), testing::Optional(HasSubstr("at character 2")));
}

TEST(DriveTable, ASearchThatWouldTakeForeverGivesUp)
{
    const drive_settings rows[] = {{"slow", "(a*)*(a*)*(a*)*b", "", "", ""}, {"next", "aaa", "", "", ""}};
    DriveTable table(rows);
    EXPECT_EQ(table.find(std::string(5000, 'a') + "!b", ""), 1U);
}

TEST(DriveTable, RequiredLiteralsAreOutsideGroupsAndQuantifiers)
{
    EXPECT_THAT(requiredLiterals("APPLE SSD (S[DM]|TS)0?(128|256)[EFG]"), ElementsAre("APPLE SSD "));
    EXPECT_THAT(requiredLiterals("SandForce 1st Ed\\.|ADATA SSD S(396|510)"),
                ElementsAre("SandForce 1st Ed", "ADATA SSD S"));
    EXPECT_THAT(requiredLiterals("(a|b)c[]x)]de?f{2}gh*ij"), ElementsAre("ij"));
    EXPECT_THAT(requiredLiterals("[^]a]b\\(c\\dx"), ElementsAre("(c"));
    EXPECT_THAT(requiredLiterals("(abc)?"), ElementsAre(""));
    EXPECT_THAT(requiredLiterals("ab\u00E9?"), ElementsAre("ab")) << "the character may be missing whole";
    EXPECT_THAT(requiredLiterals("ab{"), ElementsAre("a"));
    EXPECT_THAT(requiredLiterals("(a"), ElementsAre(""));
}

TEST(DriveTable, NoRowIsRuledOutThatItsExpressionMatches)
{
    for (const drive_settings& row : builtin_knowndrives) {
        const auto texts = literalAlternatives(row.modelregexp, 512);
        for (const std::string& text : texts.value_or(std::vector<std::string>())) {
            const auto literals = requiredLiterals(row.modelregexp);
            EXPECT_TRUE(std::ranges::any_of(
                literals,
                [&](std::string_view literal) { return base::containsIgnoringCase(text, base::lowercased(literal)); }))
                << row.modelregexp << " needs none of its literals in " << text;
            DriveTable alone(std::span(&row, 1));
            const bool matches = alone.find(text, "") == 0;
            EXPECT_TRUE(matches || !row.firmwareregexp.empty()) << row.modelregexp << " does not match " << text;
        }
    }
}

TEST(LiteralAlternatives, ListsWhatAnExpressionStandsFor)
{
    EXPECT_THAT(*literalAlternatives("M4-(0[12]|X)?", 10), UnorderedElementsAre("M4-01", "M4-02", "M4-X", "M4-"));
    EXPECT_THAT(*literalAlternatives("AB.*|C\\.[x-z]{2}D", 20), testing::SizeIs(10));
    EXPECT_THAT(*literalAlternatives("", 10), ElementsAre(""));
    for (const char* open : {"a.b", "a*", "[^a]", "a+", "(a.*)b", "(a", "a)", "[a", "a{2", "a{1,2}", "\\d", "^a",
                             "[a-z]{3}", "[b-a]", "[\u00E9]"})
        EXPECT_FALSE(literalAlternatives(open, 1000)) << open;
    EXPECT_FALSE(literalAlternatives(std::string(5000, '('), 10));
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
    std::vector<std::string> texts;
    for (const auto& finding : lintDriveTable(rows))
        texts.push_back(std::to_string(finding.row) + ' ' + finding.text);
    EXPECT_THAT(texts, ElementsAre(HasSubstr("1 every drive that it describes is matched earlier, by row 0"),
                                   HasSubstr("5 every drive that it describes is matched earlier, by row 3"),
                                   HasSubstr("6 the model expression does not compile"),
                                   HasSubstr("7 the presets are read only up to \"-v 2,raw49\""),
                                   HasSubstr("7 the preset \"-v 9\" cannot be read")));
}

} // namespace
} // namespace vantorel
