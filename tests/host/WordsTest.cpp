// SPDX-License-Identifier: GPL-2.0-or-later
// How numbers are put into words.
#include "documents/WholeNumber.h"
#include "host/choice/DurationChoice.h"
#include "host/choice/SecondsChoice.h"
#include "host/console/Text.h"
#include "host/views/NvmeStatus.h"
#include "host/views/Quantity.h"
#include "host/views/Time.h"
#include "host/views/VerdictView.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <optional>
#include <utility>

#include <unistd.h>

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
    EXPECT_EQ(wrapped("at 24 °C", 6, 0), "at\n24 °C\n");
    EXPECT_EQ(wrapped("24 % %", 4, 0), "24 %\n%\n");
    EXPECT_EQ(wrapped("größer öl", 6, 0), "größer\nöl\n");
    EXPECT_EQ(wrapped("", 9, 2), "  \n");
    EXPECT_EQ(wrapped("ab", 3, 3), "   a\n   b\n") << "no room at all";
    EXPECT_EQ(shortened("größer", 6), "größer");
    EXPECT_EQ(shortened("größer", 5), "größ…");
}

TEST(Words, TakeATimeOfUpToAHundredYears)
{
    const std::pair<const char*, std::optional<std::int64_t>> cases[] = {
        {"1s", 1},
        {"90s", 90},
        {"30m", 1'800},
        {"12h", 43'200},
        {"90d", 7'776'000},
        {"5y", 157'680'000},
        {"100y", 3'153'600'000},
        {"101y", {}},
        {"36500d", 3'153'600'000},
        {"36501d", {}},
        {"3153600000s", 3'153'600'000},
        {"3153600001s", {}},
        {"4294967297s", {}},
        {"", {}},
        {"5", {}},
        {"d", {}},
        {"5w", {}},
        {"5dd", {}},
        {"5 d", {}},
        {"-5d", {}},
    };
    for (const auto& [text, seconds] : cases) {
        const auto duration = durationOf(text);
        EXPECT_EQ(duration ? std::optional<std::int64_t>(duration->count()) : std::nullopt, seconds) << text;
    }
    const auto refusal = [](const CLI::Validator& validator, std::string text) { return validator(text); };
    const CLI::Validator anHour = durationFrom(std::chrono::hours(1));
    EXPECT_EQ(refusal(anHour, "60m"), "");
    EXPECT_EQ(refusal(anHour, "3599s"), "3599s is no time of 3600 s or more, such as 30m, 12h, 90d or 5y");
    const CLI::Validator halfASecond = secondsFrom(0.5);
    for (const char* const text : {"0.5", "86400"})
        EXPECT_EQ(refusal(halfASecond, text), "") << text;
    for (const char* const text : {"0.49", "86400.5", "nan", "1s", "", "-1"})
        EXPECT_EQ(refusal(halfASecond, text), std::string(text) + " is no number of seconds from 0.5 to 86400");
}

TEST(Words, TellAMomentOfTheCalendar)
{
    setenv("TZ", "UTC", 1);
    const std::pair<std::int64_t, const char*> cases[] = {
        {-1, ""},
        {59'999, "1970-01-01 00:00"},
        {60'000, "1970-01-01 00:01"},
        {1'769'903'999'000, "2026-01-31 23:59"},
        {253'402'300'799'999, "9999-12-31 23:59"},
        {253'402'300'800'000, ""},
    };
    for (const auto& [milliseconds, text] : cases)
        EXPECT_EQ(localMoment(milliseconds), text);
}

TEST(Words, TellTheStatusOfACommandWithoutItsFlags)
{
    const std::pair<std::uint16_t, const char*> cases[] = {
        {0x0000, "successful completion"}, {0x0001, "successful completion"},  {0x4004, "invalid field in command"},
        {0x8212, "invalid log page"},      {0xC503, "unrecovered read error"}, {0x0756, "type 3, code 0xab"},
    };
    for (const auto& [field, text] : cases)
        EXPECT_EQ(nvmeStatusText(field), text) << field;
}

TEST(Words, HaveABlankForWhatATerminalObeys)
{
    const char* const obeyed[] = {"\x01",   "\x1B",   "\x1F",   "\x7F",   "\u0080", "\u009F", "\u061C", "\u200E",
                                  "\u200F", "\u2028", "\u2029", "\u202A", "\u202E", "\u2066", "\u2067", "\u2069"};
    for (const char* const control : obeyed)
        EXPECT_EQ(printable("a" + std::string(control) + "z"), "a z");
    const char* const shown[] = {" ",      "~",      "\u00A0", "\u00BF", "\u061B", "\u061D", "\u0680", "\u200D",
                                 "\u2010", "\u2027", "\u202F", "\u2065", "\u206A", "\u2128", "\u3028"};
    for (const char* const character : shown)
        EXPECT_EQ(printable("a" + std::string(character) + "z"), "a" + std::string(character) + "z");
    EXPECT_EQ(printable("\x1B[2J\n\xFF"), " [2J \uFFFD");
}

TEST(Words, StandInColumnsThatAreAsWideAsTheirWidestWord)
{
    Table table({{"Disk"}, {"Größe", Table::Align::right}, {"Name"}});
    table.add({"disk0", "7 GB", "ä"});
    table.addBelow("  below\n");
    table.add({"d", "11.5 GB", ""});
    table.addBelow("one\n");
    table.addBelow("two\n");
    EXPECT_EQ(table.text(3), "   Disk     Größe  Name\n   disk0     7 GB  ä\n  below\n   d      11.5 GB\none\ntwo\n");

    const std::string wide(81, 'w');
    Table bounded({{"A"}, {"B"}});
    bounded.add({wide, "1"});
    bounded.add({"v", "2"});
    EXPECT_EQ(bounded.text(), "A" + std::string(81, ' ') + "B\n" + wide + "  1\nv" + std::string(81, ' ') + "2\n");
}

TEST(Words, FitAScreenOfAnySize)
{
    if (isatty(STDOUT_FILENO) == 1)
        GTEST_SKIP() << "the terminal has a width of its own";
    const std::pair<const char*, std::size_t> cases[] = {{"100", 100}, {"20", 20},   {"19", 20}, {"120", 120},
                                                         {"121", 120}, {"wide", 80}, {"0", 80},  {"", 80}};
    for (const auto& [columns, width] : cases) {
        setenv("COLUMNS", columns, 1);
        EXPECT_EQ(screenWidth(), width) << columns;
    }
    unsetenv("COLUMNS");
    EXPECT_EQ(screenWidth(), 80U);
    EXPECT_EQ(emphasised("plain", Emphasis::strong), "plain") << "no terminal";
}

} // namespace
} // namespace vantorel::host
