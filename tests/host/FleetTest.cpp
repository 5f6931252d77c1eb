// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/fleet/Fleet.h"
#include "host/fleet/FleetView.h"
#include "host/fleet/InOrder.h"
#include "host/fleet/ReportSearch.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <sys/stat.h>

namespace vantorel::host {
namespace {

TEST(Fleet, CountsADriveOnceAsItStoodInTheLatestReportThatReadIt)
{
    struct Case {
        const char* serial;
        std::optional<std::int64_t> created;
        Standing standing;
    };
    using enum Standing;
    const Case cases[] = {
        {"later-is-worse", 100, good},
        {"later-is-worse", 200, failing},
        {"later-is-worse", std::nullopt, watch},
        {"clock-went-back", 300, atRisk},
        {"clock-went-back", 299, good},
        {"asleep-since", 50, atRisk},
        {"asleep-since", 60, asleep},
        {"asleep-since", 70, notRead},
        {"same-time", 10, failing},
        {"same-time", 10, good},
        {"never-read", 10, notRead},
        {"no-time", std::nullopt, failing},
        {"no-time", std::nullopt, watch},
        {"", 10, good},
        {"", 20, watch},
    };
    Fleet fleet;
    int number = 0;
    for (const Case& one : cases)
        fleet.add({.model = "M",
                   .firmware = std::to_string(number % 2),
                   .serial = one.serial,
                   .report = "r" + std::to_string(number++),
                   .created = one.created,
                   .standing = one.standing});
    Tally sum;
    for (const auto& [group, tally] : fleet.groups())
        sum += tally;
    EXPECT_EQ(sum.of(failing), 1U);
    EXPECT_EQ(sum.of(atRisk), 2U);
    EXPECT_EQ(sum.of(watch), 2U) << "one without a serial number, and the second of no time";
    EXPECT_EQ(sum.of(good), 2U);
    EXPECT_EQ(sum.of(notRead), 1U);
    EXPECT_EQ(sum.all(), 8U);
    std::string told;
    for (const FleetDrive* const drive : fleet.notGood())
        told += drive->serial + " " + drive->report + ", ";
    EXPECT_EQ(told, "later-is-worse r1, asleep-since r5, clock-went-back r3,  r14, no-time r12, never-read r10, ");
}

TEST(Fleet, TellsModelsOfWhichMoreAreBadThanChanceExplains)
{
    EXPECT_NEAR(chanceOfAtLeast(4, 10, 5, 20), 28028.0 / 184756.0, 1e-12);
    EXPECT_NEAR(chanceOfAtLeast(1, 2, 1, 3), 2.0 / 3.0, 1e-12);
    EXPECT_NEAR(chanceOfAtLeast(0, 7, 3, 30), 1, 1e-12);
    EXPECT_EQ(chanceOfAtLeast(4, 10, 3, 30), 0);
    EXPECT_NEAR(chanceOfAtLeast(5, 8, 9, 10), 1, 1e-12) << "no fewer than 7 can be drawn";

    const auto tally = [](std::size_t bad, std::size_t good) {
        Tally one;
        one.counts[static_cast<std::size_t>(Standing::failing)] = bad;
        one.counts[static_cast<std::size_t>(Standing::good)] = good;
        return one;
    };
    const auto unusual = unusualModels({
        {{"bad", "1", "hdd"}, tally(2, 9)},      // both firmwares count together
        {{"bad", "2", "hdd"}, tally(3, 8)},      //
        {{"usual", "1", "hdd"}, tally(4, 996)},  //
        {{"few", "1", "hdd"}, tally(3, 6)},      // fewer than ten
        {{"two", "1", "hdd"}, tally(2, 10)},     // fewer than three bad ones
        {{"alone", "1", "ssd"}, tally(20, 0)},   // no other of its kind
        {{"", "1", "unknown"}, tally(20, 0)},    // not of one model
        {{"x", "1", "unknown"}, tally(0, 1000)}, //
    });
    ASSERT_EQ(unusual.size(), 1U);
    EXPECT_EQ(unusual[0].model, "bad");
    EXPECT_EQ(unusual[0].its.bad(), 5U);
    EXPECT_EQ(unusual[0].others.bad(), 9U);
    EXPECT_EQ(unusual[0].others.judged(), 1021U);
}

TEST(FleetView, TellsTheWorstFirstThenSumsAndUnusualModels)
{
    setenv("COLUMNS", "72", 1);
    using enum Standing;
    FleetSum sum;
    EXPECT_EQ(fleetText(sum), "0 reports, 0 drives\n");
    const auto add = [&sum](Standing standing, std::string model, std::string serial, std::string why = "") {
        sum.fleet.add({.model = std::move(model),
                       .firmware = standing == atRisk ? "" : "FW1",
                       .kind = "hdd",
                       .serial = std::move(serial),
                       .report = "a.vantorel",
                       .device = "disk3",
                       .standing = standing,
                       .why = std::move(why),
                       .hours = standing == failing ? std::optional<std::int64_t>(8766) : std::nullopt});
    };
    add(failing, "Bad", "A1", "It is failing, and this is why, told at some length.");
    add(atRisk, "", "");
    for (int i = 0; i < 5; ++i)
        add(watch, "Bad", "W" + std::to_string(i));
    for (int i = 0; i < 4; ++i)
        add(failing, "Bad", "F" + std::to_string(i));
    for (int i = 0; i < 29; ++i)
        add(good, "Well", "G" + std::to_string(i));
    add(asleep, "Well", "Z");
    add(withoutSmart, "Well", "Y");
    sum.reports = 1;
    sum.faults.push_back({"b.vantorel", "cut short"});
    const std::string text = fleetText(sum);
    EXPECT_THAT(text, testing::StartsWith("LEVEL    MODEL  SERIAL  FIRMWARE  DISK   REPORT\n"
                                          "failing  Bad    A1      FW1       disk3  a.vantorel\n"
                                          "  - It is failing, and this is why, told at some length.\n"));
    EXPECT_THAT(text, testing::HasSubstr("\nat risk  -      -       -         disk3  a.vantorel\nwatch "));
    EXPECT_THAT(text, testing::EndsWith("\n\n"
                                        "MODEL  FIRMWARE  DRIVES  FAILING  AT RISK  WATCH  GOOD  OTHER\n"
                                        "-      -              1        -        1      -     -      -\n"
                                        "Bad    FW1           10        5        -      5     -      -\n"
                                        "Well   FW1           31        -        -      -    29      2\n"
                                        "\n"
                                        "Unusual models\n"
                                        "  - Bad: 5 of 10 (50.0 %) at risk or failing, of the other drives of its\n"
                                        "    kind 1 of 30 (3.3 %); as many by chance: 0.002\n"
                                        "\n"
                                        "1 report, 42 drives: 5 failing, 1 at risk, 5 watch, 29 good, 1 asleep, 1\n"
                                        "without SMART; 1 fault of reports\n"));

    const std::string document = fleetDocument(sum);
    for (
        const char* const part :
        {R"("reports":1,"faults":[{"report":"b.vantorel","error":"cut short"}])",
         R"("drives":{"failing":5,"atRisk":1,"watch":5,"unknown":0,"good":29,"notRead":0,"asleep":1,"withoutSmart":1})",
         R"({"standing":"failing","report":"a.vantorel","device":"disk3","model":"Bad","serial":"A1","firmware":"FW1",)"
         R"("why":"It is failing, and this is why, told at some length.","powerOnHours":8766})",
         R"({"standing":"atRisk","report":"a.vantorel","device":"disk3"})",
         R"({"model":"Well","firmware":"FW1","kind":"hdd","drives":{"failing":0,)",
         R"("unusual":[{"model":"Bad","kind":"hdd","bad":5,"judged":10,"othersBad":1,"othersJudged":30,"chance":0.00)"})
        EXPECT_THAT(document, testing::HasSubstr(part));
}

TEST(ReportSearch, FindsReportsInFoldersOnceAndFollowsNoLinkToAFolder)
{
    namespace fs = std::filesystem;
    const test::TemporaryFolder folder;
    const std::string top = folder.file("");
    fs::create_directories(top + "b/deep/deeper.vantorel");
    fs::create_directories(top + "a");
    for (const char* const name : {"z.vantorel", "b/deep/y.vantorel", "b/deep/deeper.vantorel/x.vantorel",
                                   "a/w.vantorel", "b/v.txt", "b/vantorel", "b/u.vantorel.old"})
        folder.write(name, "");
    fs::create_symlink(top, top + "a/loop");
    fs::create_symlink(top + "b/v.txt", top + "a/t.vantorel");
    ASSERT_EQ(mkfifo((top + "a/s.vantorel").c_str(), 0600), 0);
    std::vector<std::string> complaints;
    const auto found = [&](const std::vector<std::string>& paths) {
        std::string names;
        for (const std::string& path : reportsUnder(paths, [&](std::string_view what, std::string_view why) {
                 complaints.push_back(std::string(what) + ": " + std::string(why));
             }))
            names += (path.starts_with(top) ? path.substr(top.size()) : path) + ' ';
        return names;
    };
    const std::string all = "a/t.vantorel a/w.vantorel b/deep/deeper.vantorel/x.vantorel b/deep/y.vantorel z.vantorel ";
    EXPECT_EQ(found({top}), all);
    EXPECT_EQ(found({top + "b/deep", top + "b/v.txt", top + "b", top + "z.vantorel"}),
              "b/deep/deeper.vantorel/x.vantorel b/deep/y.vantorel b/v.txt z.vantorel ")
        << "in the order of what was named, and what is named counts whatever its name";
    EXPECT_EQ(found({"/none/such"}), "/none/such ") << "who opens it says what is wrong";
    EXPECT_THAT(complaints, testing::IsEmpty());
}

TEST(InOrder, HandsOnInOrderAndKeepsFewWaiting)
{
    std::atomic<std::size_t> made = 0;
    std::size_t next = 0;
    std::size_t most = 0;
    inOrder<std::size_t>(
        1000,
        [&](std::size_t i) {
            if (i % 97 == 0) // all others overtake it
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            ++made;
            return i * i;
        },
        [&](std::size_t i, std::size_t result) {
            EXPECT_EQ(i, next++);
            EXPECT_EQ(result, i * i);
            most = std::max(most, made - i);
        });
    EXPECT_EQ(next, 1000U);
    EXPECT_LE(most, 16U * 8U + 1U);
    EXPECT_THROW(inOrder<int>(
                     1000, [](std::size_t i) { return static_cast<int>(i); },
                     [](std::size_t i, int) {
                         if (i == 5)
                             throw std::runtime_error("the output is full");
                     }),
                 std::runtime_error);
}

TEST(FleetDrive, KnowsTheTimeOfAReportAndNothingThatIsNone)
{
    const std::pair<const char*, std::optional<std::int64_t>> cases[] = {
        {"1970-01-01T00:00:00Z", 0},
        {"2024-02-29T23:59:58Z", 1709251198},
        {"2026-02-29T00:00:00Z", std::nullopt},
        {"2026-13-01T00:00:00Z", std::nullopt},
        {"2026-01-01T24:00:00Z", std::nullopt},
        {"2026-01-01T00:00:00", std::nullopt},
        {"2026-01-01 00:00:00Z", std::nullopt},
        {"2026-01-+1T00:00:00Z", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [text, seconds] : cases)
        EXPECT_EQ(secondsOf(text), seconds) << text;
}

} // namespace
} // namespace vantorel::host
