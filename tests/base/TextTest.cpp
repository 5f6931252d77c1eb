// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/Text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vantorel::base {
namespace {

TEST(Text, TrimsBlanksAndTabsOnly)
{
    EXPECT_EQ(trimmed(" \t a b \t"), "a b");
    EXPECT_EQ(trimmed("\na\n"), "\na\n");
    EXPECT_EQ(trimmed(" \t "), "");
}

TEST(Text, WordsStandBetweenWhiteSpaceOfAnyKind)
{
    using Words = std::vector<std::string_view>;
    EXPECT_EQ(words("\u00A0WD\u3000 Blue\u2028\tx\u0085"), (Words{"WD", "Blue", "x"}));
    EXPECT_EQ(words("a\u200Bb\xC2_\u180Ec"), (Words{"a\u200Bb\xC2_\u180Ec"})) << "no width, no property";
    EXPECT_EQ(words(" \n"), Words());
}

TEST(Text, SearchesWithoutRegardToAsciiCase)
{
    EXPECT_TRUE(containsIgnoringCase("Airflow TEMPERATURE", "temperature"));
    EXPECT_FALSE(containsIgnoringCase("Temperatur", "temperature"));
    EXPECT_TRUE(containsIgnoringCase("", ""));
}

TEST(Text, ReplacementIsNotReadAgain)
{
    EXPECT_EQ(replacingAll("aaa", "a", "ba"), "bababa");
    EXPECT_EQ(replacingAll("Ct_Ct", "Ct", "Count"), "Count_Count");
}

TEST(Text, EveryByteOutsideAWellFormedSequenceBecomesOneReplacementCharacter)
{
    const std::string mark = "\xEF\xBF\xBD";
    const std::pair<std::string, std::string> cases[] = {
        {"35\xC2\xB0"
         "C",
         "35\xC2\xB0"
         "C"},
        {"\xF0\x9F\x92\xBE", "\xF0\x9F\x92\xBE"},
        {"a\xFFz", "a" + mark + "z"},
        {"\xC0\xAF", mark + mark},            // overlong
        {"\xED\xA0\x80", mark + mark + mark}, // surrogate
        {"\xF4\x90\x80\x80", mark + mark + mark + mark},
        {"\xE2\x82", mark + mark}, // cut
        {"\xE2\x82(", mark + mark + "("},
        {"\xF0\x9F\x92(", mark + mark + mark + "("},
        {"\xF0\x9F(\xBE", mark + mark + "(" + mark},
        {"\xF5\x80\x80\x80", mark + mark + mark + mark},
        {"\xE0\xA0\x80\xED\x9F\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\xC2\x80",
         "\xE0\xA0\x80\xED\x9F\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\xC2\x80"},
        {"\xE0\x9F\xBF", mark + mark + mark},
        {"\xF0\x8F\xBF\xBF", mark + mark + mark + mark},
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(toUtf8(bytes), text);
        EXPECT_EQ(isUtf8(bytes), bytes == text);
        EXPECT_TRUE(isUtf8(toUtf8(bytes)));
    }
}

TEST(Text, ARealIsTheWholeTextInDecimalDigits)
{
    const std::pair<const char*, double> numbers[] = {{"0", 0},  {"-8.25", -8.25},   {"1e3", 1000},      {".5", 0.5},
                                                      {"2.", 2}, {"5e-324", 5e-324}, {"-inf", -INFINITY}};
    for (const auto& [text, value] : numbers)
        EXPECT_EQ(realFrom(text), value) << text;
    EXPECT_TRUE(std::isnan(realFrom("nan").value()));
    for (const char* const text : {"", "+1", " 1", "1 ", "0x10", "1,5", "1e", "1e999", "1e-999", "nan(1)", "--1", "e5"})
        EXPECT_FALSE(realFrom(text)) << text;
}

TEST(Text, ShortestDecimalKeepsAFractionAndReadsBack)
{
    EXPECT_EQ(shortestDecimal(25), "25.0");
    EXPECT_EQ(shortestDecimal(655.35), "655.35");
    EXPECT_EQ(shortestDecimal(0), "0.0");
    EXPECT_EQ(shortestDecimal(1e15), "1000000000000000.0");
    EXPECT_EQ(shortestDecimal(9007199254740991.0), "9007199254740991.0");
    for (const double large : {9007199254740992.0, 281474976710655.0 * 1073741824.0, 1e300}) {
        EXPECT_EQ(std::stod(shortestDecimal(large)), large);
        EXPECT_NE(shortestDecimal(large).find_first_of(".e"), std::string::npos);
    }
}

} // namespace
} // namespace vantorel::base
