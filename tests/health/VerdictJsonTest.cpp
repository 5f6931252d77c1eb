// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/health/VerdictJson.h"

#include "Readings.h"
#include "vantorel/smart/SmartController.h"

#include <gtest/gtest.h>

#include <clocale>

namespace vantorel::health {
namespace {

TEST(VerdictJson, NumbersAreNumbersWithAllTheirDigitsAndAUnit)
{
    EXPECT_EQ(toJson(TypedValue{.number = 305, .decimals = 1, .unit = Unit::celsius, .raw = 305, .minimum = -12}),
              R"({"number":30.5,"unit":"celsius","raw":305,"minimum":-1.2,"plausible":true})");
    EXPECT_EQ(toJson(TypedValue{.number = -7, .decimals = 2}),
              R"({"number":-0.07,"unit":"none","raw":0,"plausible":true})");
    EXPECT_EQ(
        toJson(TypedValue{.unit = Unit::count, .raw = ~UInt128{0}, .besides = {3, 9}, .besidesCount = 2}),
        R"({"number":0,"unit":"count","raw":340282366920938463463374607431768211455,"besides":[3,9],"plausible":true})");
}

TEST(VerdictJson, AVerdictIsOneObjectWhateverTheLocale)
{
    const test::AtaDrive drive({{197, 1'234'567}});
    const std::string plain = toJson(judge(drive.reading()));
    EXPECT_TRUE(
        plain.starts_with(R"({"level":"atRisk","doubtful":false,"reasons":[{"rule":"hdd.pending.high",)"
                          R"("level":"atRisk","attribute":197,"name":"Current_Pending_Sector",)"
                          R"("value":{"number":1234567,"unit":"sectors","raw":1234567,"plausible":true},)"
                          R"("rate":{"perYear":3.133,"low":1.15,"high":6.819,"from":650},)"
                          R"("rateWithout":{"perYear":0.02554,"low":0.02316,"high":0.0281,"from":0,"through":0},)"
                          R"("sentence":"1234567 sectors wait to be rewritten: )"))
        << plain;
    for (const char* const locale : {"de_DE.UTF-8", "C.UTF-8", ""}) {
        std::setlocale(LC_ALL, locale);
        EXPECT_EQ(toJson(judge(drive.reading())), plain) << locale;
    }
}

TEST(VerdictJson, NamesOfAHostsTableAreEscaped)
{
    const drive_settings row{"ACME", "ACME.*", "", "", "-v 5,raw48,a\"b\\c\n\xFF"};
    addDriveTable({.name = "test", .rows = {&row, 1}}, DriveTableUse::override);
    const test::AtaDrive drive({{5, 0}});
    EXPECT_NE(toJson(attributesOf(drive.reading()))
                  .find(R"("name":"a\"b\\c\u000a)"
                        "\uFFFD\""),
              std::string::npos);
}

TEST(ReadingOf, AResultIsJudgedByTheBytesThatItKeeps)
{
    const test::AtaDrive drive({{197, 1}});
    const auto result = SmartController::shared().processExtractedSmart(drive.data, DataView(drive.thresholds), false,
                                                                        false, "ACME Disk");
    EXPECT_EQ(judge(readingOf(*result, false)).level, Level::atRisk);
    const auto log =
        SmartController::shared().processExtractedSmart(recordBytes(test::healthyLog()), {}, true, true, "");
    EXPECT_EQ(test::rules(judge(readingOf(*log, true)).reasons), "unknown.too-few-bytes");
}

} // namespace
} // namespace vantorel::health
