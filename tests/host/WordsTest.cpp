// SPDX-License-Identifier: GPL-2.0-or-later
// How numbers are put into words.
#include "documents/WholeNumber.h"
#include "host/console/Text.h"
#include "host/views/Quantity.h"
#include "host/views/VerdictView.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vantorel::host {
namespace {

TEST(Words, TellAnAgeInYearsAndMonths)
{
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "0 d"},         {730, "30 d"},        {731, "1 mo"},         {8765, "11 mo"},
        {8766, "1 y 0 mo"}, {18'992, "2 y 1 mo"}, {26'297, "2 y 11 mo"}, {26'298, "3 y 0 mo"},
    };
    for (const auto& [hours, text] : cases) {
        health::Verdict verdict;
        verdict.powerOnTime = health::TypedValue{.number = hours, .unit = health::Unit::hours};
        EXPECT_EQ(ageText(verdict), text) << hours;
    }
    EXPECT_EQ(ageText({}), "-");
}

TEST(Words, TellASizeWithoutCarryingToTheNextUnit)
{
    const std::pair<std::uint64_t, const char*> cases[] = {
        {0, "0 bytes"},
        {1, "1 byte"},
        {999, "999 bytes"},
        {1000, "1 KB"},
        {999'499, "999 KB"},
        {999'500, "1 MB"},
        {209'715'200, "209.7 MB"},
        {999'950'000, "1 GB"},
        {80'026'361'856, "80.03 GB"},
        {999'994'999'999, "999.99 GB"},
        {999'995'000'000, "1 TB"},
        {~std::uint64_t{0}, "18446.74 PB"},
    };
    for (const auto& [bytes, text] : cases)
        EXPECT_EQ(sizeText(bytes), text) << bytes;
    EXPECT_EQ(wholeNumber(-1), 0U);
    EXPECT_EQ(wholeNumber(std::nan("")), 0U);
    EXPECT_EQ(wholeNumber(4096.75), 4096U);
    EXPECT_EQ(wholeNumber(1e30), ~std::uint64_t{0});
}

TEST(Words, BreakAtBlanksAndKeepAUnitWithItsNumber)
{
    EXPECT_EQ(wrapped("one two", 7, 0), "one two\n");
    EXPECT_EQ(wrapped("one two", 6, 0), "one\ntwo\n");
    EXPECT_EQ(wrapped("up to 24 % of", 10, 2, "- "), "- up to\n  24 % of\n");
    EXPECT_EQ(wrapped("unbreakable", 5, 1), " unbr\n eaka\n ble\n");
    EXPECT_EQ(shortened("größer", 6), "größer");
    EXPECT_EQ(shortened("größer", 5), "größ…");
}

} // namespace
} // namespace vantorel::host
