// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/formatting/DecimalText.h"

#include "system/formatting/Icu.h"
#include "vantorel/system/Localization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

namespace vantorel::system {
namespace {

// American English is written without ICU, British English by it: nobody can tell one from the other.
class DecimalText : public testing::TestWithParam<const char*> {};

TEST_P(DecimalText, RoundsTheShortestDecimalHalfToEven)
{
    setenv("LC_ALL", GetParam(), 1);
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        double number;
        int fractionDigits;
        const char* text;
    } numbers[] = {
        {0, 2, "0"},
        {-0.0, 0, "-0"},
        {-0.4, 0, "-0"},
        {0.05, 1, "0"},
        {0.15, 1, "0.2"},
        {0.051, 1, "0.1"},
        {1.015, 2, "1.02"},
        {1.025, 2, "1.02"},
        {0.5, 0, "0"},
        {1.5, 0, "2"},
        {9.5, 0, "10"},
        {999.995, 2, "1,000"},
        {-1234.5, 0, "-1,234"},
        {1234.0625, 1, "1,234.1"},
        {1e15 + 0.5, 1, "1,000,000,000,000,000.5"},
        {1e21, 0, "1,000,000,000,000,000,000,000"},
        {5e-324, 2, "0"},
        {infinity, 1, "\u221E"},
        {-infinity, 1, "-\u221E"},
        {std::numeric_limits<double>::quiet_NaN(), 1, "NaN"},
    };
    for (const auto& [number, fractionDigits, text] : numbers)
        EXPECT_EQ(decimalText(number, fractionDigits), text) << number;
}

TEST(LocaleName, IsWhatALanguageTagCanBe)
{
    for (const char* const name : {"de", "de_DE", "en-GB", "sr_Latn_RS", "es_419", "ca_ES_valencia", "haw"})
        EXPECT_TRUE(isLocaleName(name)) << name;
    for (const char* const name : {"", "x", "_DE", "de_", "de__DE", "abcdefghijkl", "de_abcdefghi", "d3", "de/DE",
                                   "\xC3\xA4\xC3\xA4", "aa_b_c_d_e_f_g"})
        EXPECT_FALSE(isLocaleName(name)) << name;
}

TEST(LocaleName, ThatIsNoneIsWrittenInEnglish)
{
    setenv("LC_ALL", "abcdefghijkl", 1);
    EXPECT_EQ(numberLocale(), "en_US");
    EXPECT_EQ(decimalText(1234567), "1,234,567");
}

TEST(LocaleName, SaysWhoseWorkItsNumbersAre)
{
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    EXPECT_THAT(numberLocale(), testing::MatchesRegex("de_DE, by ICU [1-9][0-9]"));
    EXPECT_EQ(decimalText(1234567), "1.234.567");
}

INSTANTIATE_TEST_SUITE_P(English, DecimalText, testing::Values("C", "en_US.UTF-8", "en_GB"));

} // namespace
} // namespace vantorel::system
