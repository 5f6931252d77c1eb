// SPDX-License-Identifier: GPL-2.0-or-later
// The drawings of the page, by what stands where in them.
#include "host/page/Drawings.h"
#include "health/Readings.h"
#include "vantorel/base/Bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::host {
namespace {

using health::TypedValue;
using health::Unit;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// The groups of every match, with blanks between the groups and bars between the matches.
std::string allOf(const Html& drawing, const char* pattern)
{
    const std::string& markup = drawing.markup();
    const std::regex expression(pattern);
    std::string all;
    for (std::sregex_iterator match(markup.begin(), markup.end(), expression), end; match != end; ++match) {
        all += all.empty() ? "" : " | ";
        for (std::size_t i = 1; i < match->size(); ++i)
            all += (i > 1 ? " " : "") + (*match)[i].str();
    }
    return all;
}

std::string zonesOf(const Html& scale)
{
    return allOf(scale, "<rect class=\"([a-zA-Z]+)\" x=\"([0-9.]+)\" y=\"4\" width=\"([0-9.]+)\" height=\"8\"/?>");
}

std::string labelsOf(const Html& drawing)
{
    return allOf(drawing, "<text x=\"([0-9.]+)\" y=\"27\" text-anchor=\"([a-z]+)\">([^<]*)</text>");
}

std::string needleOf(const Html& scale)
{
    return allOf(scale, "<line class=\"needle\" x1=\"([0-9.]+)\"");
}

health::TemperatureLimits limits(std::optional<int> warning, std::optional<int> critical)
{
    health::TemperatureLimits both;
    if (warning)
        both.warning = {*warning, false};
    if (critical)
        both.critical = {*critical, false};
    return both;
}

TEST(Drawings, PutATemperatureOnAScaleOfItsLimits)
{
    struct Row {
        TypedValue temperature;
        health::TemperatureLimits limits;
        const char* zones;
        const char* labels;
        const char* needle;
    };
    // A scale is 232 wide and begins at 4; it ends at 75, 5 above what is or 15 above the last limit.
    const Row rows[] = {
        {{.number = 34, .minimum = 17, .maximum = 51},
         limits(60, 70), // ends at 85
         "range 50.4 92.8 | watch 167.8 27.3 | atRisk 195.1 40.9",
         "0.0 start 0 | 167.8 middle 60 | 195.1 middle 70",
         "96.8"},
        {{.number = 30, .minimum = 31, .maximum = 29},
         limits(45, std::nullopt), // ends at 75
         "watch 143.2 92.8",
         "0.0 start 0 | 143.2 middle 45",
         "96.8"},
        {{.number = 910, .decimals = 1, .minimum = 24, .maximum = 24},
         limits(std::nullopt, 64), // ends at 96
         "range 62.0 0.5 | atRisk 158.7 77.3",
         "0.0 start 0 | 158.7 middle 64",
         "223.9"},
        {{.number = -3, .maximum = 50},
         limits(58, 58),
         "watch 183.4 0.5 | atRisk 183.4 52.6", // ends at 75
         "0.0 start 0 | 183.4 middle 58",
         "4.0"},
    };
    for (const Row& row : rows) {
        const Html drawing = temperatureDrawing(row.temperature, row.limits);
        EXPECT_EQ(zonesOf(drawing), row.zones);
        EXPECT_EQ(labelsOf(drawing), row.labels);
        EXPECT_EQ(needleOf(drawing), row.needle);
        EXPECT_THAT(drawing.markup(), HasSubstr("<title>" + health::decimalText(row.temperature) + " °C on a scale"));
    }
}

TEST(Drawings, ColourWearAndReserveByTheStepsOfTheVerdict)
{
    const std::pair<int, const char*> used[] = {
        {0, "good 4.0 0.5"},     {89, "good 4.0 206.5"},    {90, "watch 4.0 208.8"},
        {99, "watch 4.0 229.7"}, {100, "atRisk 4.0 232.0"}, {116, "atRisk 4.0 232.0"},
    };
    for (const auto& [percent, zone] : used)
        EXPECT_EQ(zonesOf(wearDrawing({.number = percent})), zone);
    EXPECT_EQ(labelsOf(wearDrawing({.number = 7})), "0.0 start 0 | 120.0 middle 50 | 240.0 end 100");
    EXPECT_EQ(labelsOf(wearDrawing({.number = 116})), "0.0 start 0 | 104.0 middle 50 | 204.0 middle 100");

    struct Row {
        int left;
        std::optional<double> limit;
        const char* zone;
        const char* labels;
    };
    const Row rows[] = {
        {9, 10, "failing 4.0 20.9", "0.0 start 0 | 240.0 end 100 | 27.2 middle 10"},
        {10, 10, "watch 4.0 23.2", "0.0 start 0 | 240.0 end 100 | 27.2 middle 10"},
        {20, std::nullopt, "watch 4.0 46.4", "0.0 start 0 | 240.0 end 100"},
        {21, 0, "good 4.0 48.7", "0.0 start 0 | 240.0 end 100"},
        {98, 100, "failing 4.0 227.4", "0.0 start 0 | 240.0 end 100"},
        {98, 99, "failing 4.0 227.4", "0.0 start 0 | 240.0 end 100 | 240.0 end 99"},
    };
    for (const Row& row : rows) {
        const Html drawing = reserveDrawing({.number = row.left}, row.limit);
        EXPECT_EQ(zonesOf(drawing), row.zone);
        EXPECT_EQ(labelsOf(drawing), row.labels);
    }
}

TEST(Drawings, HaveASymbolOfItsOwnForEveryTone)
{
    const char* const tones[] = {"failing", "atRisk", "watch", "good", "unknown", "unread", "none"};
    const std::string all = symbols().markup();
    std::vector<std::string> files;
    for (const char* const tone : tones) {
        EXPECT_THAT(all, HasSubstr(std::string("<symbol id=\"mark-") + tone + '"'));
        EXPECT_THAT(mark(tone).markup(), HasSubstr(std::string("href=\"#mark-") + tone + '"'));
        EXPECT_THAT(files, Not(testing::Contains(iconFile(tone))));
        files.push_back(iconFile(tone));
    }
    EXPECT_THAT(mark("else").markup(), HasSubstr("#mark-none"));
    EXPECT_EQ(iconFile("else"), files.back());
    EXPECT_THAT(files.front(), HasSubstr("fill=\"#b4123f\"")) << "filled, and lines in white on it";
    EXPECT_THAT(files.front(), HasSubstr("stroke=\"#fff\""));
    EXPECT_THAT(files.back(), HasSubstr("stroke=\"#5a6270\"")) << "lines alone";
    EXPECT_EQ(allOf(symbols(), "class=\"(shape|inner|outline)\""),
              "shape | inner | shape | inner | shape | inner | shape | inner | outline | outline | outline");
}

Time at(const char* text)
{
    return parsedTime(text).value();
}

Series seriesOf(double first, double last, Unit unit = Unit::count, const char* text = "7")
{
    return {0, "Number", unit, {{at("2026-03-05T06:00:00Z"), first, text}, {at("2026-03-25T18:30:00Z"), last, text}}};
}

TEST(LineChart, HasTicksAtRoundNumbersAroundItsRange)
{
    const std::tuple<Series, const char*> rows[] = {
        {seriesOf(3, 11), "2 | 4 | 6 | 8 | 10 | 12"},
        {seriesOf(11, 3), "2 | 4 | 6 | 8 | 10 | 12"},
        {seriesOf(-3, 5), "-4 | -2 | 0 | 2 | 4 | 6"},
        {seriesOf(40, 41), "40 | 41"},
        {seriesOf(40, 41, Unit::celsius, "40.5"), "40.0 | 40.5 | 41.0"},
        {seriesOf(30.25, 30.75, Unit::count, "30.5"), "30.2 | 30.4 | 30.6 | 30.8"},
        {seriesOf(0, 20), "0 | 5 | 10 | 15 | 20"},
        {seriesOf(9'998, 10'003), "9998 | 10.000 k | 10.002 k | 10.004 k"},
        {seriesOf(1'000'000, 1'250'000), "1.0 M | 1.1 M | 1.2 M | 1.3 M"},
        {seriesOf(2e12, 5e12), "2 T | 3 T | 4 T | 5 T"},
        {seriesOf(1e15, 2e15), "1.0 P | 1.5 P | 2.0 P"},
        {seriesOf(3e9, 6e9, Unit::bytes), "3 GB | 4 GB | 5 GB | 6 GB"},
        {seriesOf(9'007'199'254'740'992, 9'007'199'254'740'992), "9.007199 P | 9.007199 P"},
    };
    for (const auto& [series, labels] : rows)
        EXPECT_EQ(allOf(lineChart(series), "text-anchor=\"end\">([^<-]*|-[0-9]+)</text>"), labels);
    // Lines from 10 at the top to 124 at the bottom, each with its label 4 below.
    const Html chart = lineChart(seriesOf(3, 11));
    EXPECT_EQ(allOf(chart, "class=\"grid\" d=\"([^\"]*)\""),
              "M58 124.0H312 | M58 101.2H312 | M58 78.4H312 | M58 55.6H312 | M58 32.8H312 | M58 10.0H312");
    EXPECT_EQ(allOf(chart, "x=\"52.0\" y=\"([0-9.]*)\""), "128.0 | 105.2 | 82.4 | 59.6 | 36.8 | 14.0");
}

TEST(LineChart, PutsEachPointAtItsTimeAndNumber)
{
    const Series series = {5,
                           "Reallocated <sectors>",
                           Unit::sectors,
                           {{at("2026-03-05T06:00:00Z"), 3, "3"},
                            {at("2026-03-10T06:00:00Z"), 3, "3"},
                            {at("2026-03-25T06:00:00Z"), 11, "11"}}};
    const Html chart = lineChart(series);
    EXPECT_EQ(allOf(chart, "class=\"line\" d=\"([^\"]*)\""), "M58.0 112.6L121.5 112.6L312.0 21.4");
    EXPECT_EQ(allOf(chart, "<circle cx=\"([0-9.]+)\" cy=\"([0-9.]+)\" r=\"3\"><title>([^<]*)</title>"),
              "58.0 112.6 2026-03-05: 3 | 121.5 112.6 2026-03-10: 3 | 312.0 21.4 2026-03-25: 11");
    EXPECT_EQ(allOf(chart, "<svg[^>]*><title>([^<]*)</title>"),
              "Reallocated &lt;sectors&gt;: from 3 on 2026-03-05 to 11 on 2026-03-25");

    struct Row {
        const char* begin;
        const char* end;
        const char* labels;
    };
    const Row rows[] = {
        {"2026-03-05T06:00:00Z", "2026-03-07T06:00:00Z",
         "58.0 start 2026-03-05 | 185.0 middle 2026-03-06 | 312.0 end 2026-03-07"},
        {"2026-03-05T06:00:00Z", "2026-03-07T05:59:58Z",
         "58.0 start 03-05 06:00 | 185.0 middle 03-06 05:59 | 312.0 end 03-07 05:59"},
        {"2026-03-05T06:07:00Z", "2026-03-05T06:07:00Z", "58.0 start 03-05 06:07"},
    };
    for (const Row& row : rows) {
        const Html drawn = lineChart({0, "N", Unit::count, {{at(row.begin), 1, "1"}, {at(row.end), 2, "2"}}});
        EXPECT_EQ(allOf(drawn, "x=\"([0-9.]+)\" y=\"142.0\" text-anchor=\"([a-z]+)\">([^<]*)<"), row.labels);
    }
    EXPECT_EQ(
        allOf(lineChart(
                  {0, "N", Unit::count, {{at("2026-03-05T06:07:00Z"), 1, "1"}, {at("2026-03-05T06:07:00Z"), 2, "2"}}}),
              "class=\"line\" d=\"([^\"]*)\""),
        "M58.0 124.0L58.0 10.0");
}

TEST(Series, AreTheNumbersThatChanged)
{
    using test::AtaDrive;
    const auto judged = [](const AtaDrive& drive) {
        return health::judgeSavedAta(drive.data, drive.thresholds, "ACME Disk", false).value();
    };
    // The second 5 of the last sector is one too many, and 199 is only in one of them.
    const std::vector<health::JudgedReading> readings = {
        judged(AtaDrive({{197, 2}, {5, 30}, {9, 8765}})), judged(AtaDrive({{197, 2}, {5, 30}, {9, 8801}, {199, 6}})),
        judged(AtaDrive({{197, 0}, {5, 30}, {9, 8802}, {5, 31}, {240, 4}}))};
    const auto changed = changedNumbers(std::vector<TimedReading>{{at("2026-03-05T06:00:00Z"), &readings[0]},
                                                                  {at("2026-03-06T07:00:00Z"), &readings[1]},
                                                                  {at("2026-03-07T08:00:00Z"), &readings[2]}});
    ASSERT_EQ(changed.size(), 2U);
    EXPECT_EQ(changed[0].id, 197);
    EXPECT_EQ(changed[1].id, 9);
    EXPECT_EQ(changed[1].unit, Unit::hours);
    ASSERT_EQ(changed[1].points.size(), 3U);
    EXPECT_EQ(changed[1].points[1].number, 8801);
    EXPECT_EQ(changed[1].points[1].text, "8801");
    EXPECT_EQ(changed[1].points[1].time, at("2026-03-06T07:00:00Z"));
    EXPECT_TRUE(changedNumbers({}).empty());

    NVMeSMARTLog log = test::healthyLog();
    const auto before = health::judgeSavedNvme(recordBytes(log)).value();
    log.critical_warning = 4; // bits, which are no number
    log.power_on_hours[0] = 1;
    log.unsafe_shutdowns[0] = 12;
    const auto after = health::judgeSavedNvme(recordBytes(log)).value();
    std::vector<std::string> names;
    for (const Series& series : changedNumbers(
             std::vector<TimedReading>{{at("2026-03-05T06:00:00Z"), &before}, {at("2026-03-06T07:00:00Z"), &after}}))
        names.push_back(series.name);
    EXPECT_THAT(names, ElementsAre("Power on hours", "Unsafe shutdowns"));
}

TEST(Series, TakeATimeOfTheCalendarAlone)
{
    const std::pair<const char*, std::int64_t> times[] = {
        {"1970-01-01T00:00:00Z", 0},
        {"2024-02-29T23:59:60Z", 1'709'251'200},
        {"2026-01-31T23:59:59Z", 1'769'903'999},
    };
    for (const auto& [text, seconds] : times)
        EXPECT_EQ(at(text).time_since_epoch().count(), seconds) << text;
    for (const char* const text : {"", "2026-01-31", "2026-01-31T23:59:59", "2026-01-31T23:59:59Z ",
                                   "2026-01-31T24:00:00Z", "2026-01-31T23:60:00Z", "2026-01-31T23:59:61Z",
                                   "2026-13-01T00:00:00Z", "2025-02-29T00:00:00Z", "2026-01-00T00:00:00Z", "yesterday"})
        EXPECT_FALSE(parsedTime(text)) << text;
}

TEST(Html, NeverMakesMarkupOfAText)
{
    EXPECT_EQ(Html("a<b>&\"'\x01\n\xEF\xBF\xBE\xFF").markup(), "a&lt;b&gt;&amp;&quot;&#39; \n\uFFFD\uFFFD");
    EXPECT_EQ(tag("a", {{"b", "<\""}, {"c", ""}, {"d", "e"}}, "f", tag("g"), Html("<")).markup(),
              "<a b=\"&lt;&quot;\" d=\"e\">f<g></g>&lt;</a>");
    EXPECT_EQ(Html::emptyElement("meta", {{"x", "1"}}).markup(), "<meta x=\"1\"/>");
    EXPECT_TRUE(Html("").isEmpty());
    EXPECT_FALSE(Html("-").isEmpty());
}

} // namespace
} // namespace vantorel::host
