// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/fleet/Fleet.h"
#include "host/fleet/InOrder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

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
