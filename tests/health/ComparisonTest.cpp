// SPDX-License-Identifier: GPL-2.0-or-later
#include "Readings.h"

#include <gtest/gtest.h>

namespace vantorel::health {
namespace {

using enum Level;
using test::AtaDrive;
using test::gist;
using test::Slot;

TEST(TwoReadings, WhatGrewWeighsThoughItsNumberAloneDoesNot)
{
    struct Case {
        Slot before;
        Slot now;
        bool isSSD;
        Level level;
        std::string rule;
        bool damage;
    };
    for (const Case& c : {
             Case{{199, 108}, {199, 108}, false, good, "good", false},
             Case{{199, 108}, {199, 109}, false, watch, "link.errors.grew", true},
             Case{{199, 109}, {199, 108}, false, good, "good", false},
             Case{{183, 30}, {183, 31}, true, watch, "link.speed.grew", true},
             Case{{188, 8}, {188, 12}, true, watch, "link.timeouts.grew", true},
             Case{{5, 1}, {5, 2}, false, watch, "hdd.reallocated.grew", true},
             Case{{5, 1}, {5, 2}, true, good, "good", true},
             Case{{187, 3}, {187, 4}, true, atRisk, "ssd.reported.grew", true},
             Case{{197, 0}, {197, 1}, true, good, "good", true},
             Case{{197, 1}, {197, 1}, true, watch, "ssd.pending.stay", false},
             Case{{184, 4}, {184, 5}, true, watch, "ssd.end-to-end.grew", true},
         }) {
        const AtaDrive before({c.before, {9, 1000}, {2, 0, 100, 100, 54, true}}, "ACME", c.isSSD);
        const AtaDrive now({c.now, {9, 1120}, {2, 0, 100, 100, 54, true}}, "ACME", c.isSSD);
        const Verdict verdict = judge(now.reading(), before.reading());
        EXPECT_EQ(gist(verdict), std::pair(c.level, c.rule)) << int{c.now.id} << ' ' << c.now.raw;
        EXPECT_EQ(verdict.comparison->damageGrew(), c.damage) << int{c.now.id} << ' ' << c.now.raw;
        EXPECT_EQ(verdict.comparison->hours, 120);
    }
}

TEST(TwoReadings, TheSentenceTellsHowMuchOverHowLong)
{
    const Verdict verdict = judge(AtaDrive({{197, 40}, {199, 12}, {9, 1120}}).reading(),
                                  AtaDrive({{197, 37}, {199, 5}, {9, 1000}}).reading());
    EXPECT_EQ(verdict.reasons[0].sentence,
              "40 sectors wait to be rewritten, 3 more in 120 powered hours: disks with 40 "
              "to 99 last 221 days on average, those with none fail at 2.6 % a year");
    EXPECT_EQ(verdict.reasons[1].sentence, "7 transfer errors between drive and computer in 120 powered hours: look at "
                                           "cable, backplane and power first");
    ASSERT_EQ(verdict.comparison->changes.size(), 2U);
    const Change& change = verdict.comparison->changes[0];
    EXPECT_EQ(change.name, "Current_Pending_Sector");
    EXPECT_EQ(decimalText(change.before) + ' ' + decimalText(change.now) + ' ' + decimalText(change.by), "37 40 3");
}

TEST(TwoReadings, AreComparedOnlyWhenTheyAreOfOneDriveAndInOrder)
{
    const AtaDrive before({{199, 5}, {9, 1000}, {197, 0}});
    const AtaDrive now({{199, 12}, {9, 1120}, {197, 0}});
    Reading earlier = before.reading();
    Reading later = now.reading();
    EXPECT_EQ(judge(later, earlier).level, watch);

    earlier.serial = "A1";
    EXPECT_TRUE(judge(later, earlier).comparison); // one of the two is unknown
    later.serial = "B2";
    EXPECT_FALSE(judge(later, earlier).comparison);
    EXPECT_EQ(test::rules(judge(later, earlier).notes), "compared.other-drive link.errors");

    later.serial = earlier.serial;
    const Verdict swapped = judge(earlier, later);
    EXPECT_EQ(swapped.comparison->hours, -120);
    EXPECT_EQ(swapped.level, good);
    EXPECT_NE(test::rules(swapped.notes).find("compared.hours-shrank"), std::string::npos);

    const Data zeros(512);
    earlier.data = zeros;
    EXPECT_FALSE(judge(later, earlier).comparison);
}

TEST(TwoReadings, OfAnNvmeDriveTellMediaErrorsShutdownsWearAndReserve)
{
    NVMeSMARTLog log = test::healthyLog();
    log.media_errors[0] = 2;
    log.percent_used = 7;
    const Data before = recordBytes(log);
    log.media_errors[0] = 3;
    log.percent_used = 9;
    log.avail_spare = 98;
    log.unsafe_shutdowns[0] = 14;
    log.power_on_hours[0] = 48;
    const Data now = recordBytes(log);
    const auto reading = [](const Data& bytes) {
        return Reading{.kind = Reading::Kind::nvme, .data = bytes, .isSSD = true};
    };
    const Verdict verdict = judge(reading(now), reading(before));
    EXPECT_EQ(test::rules(verdict.reasons), "nvme.media.grew power.cuts.grew");
    std::string changes;
    for (const Change& change : verdict.comparison->changes)
        changes += change.name + ' ' + decimalText(change.by) + (change.damage ? "! " : " ");
    EXPECT_EQ(changes, "AvailableSpare -2 PercentageUsed 2 UnsafeShutdowns 3 MediaAndDataIntegrityErrors 1! ");
    EXPECT_EQ(verdict.comparison->hours, 48);
}

} // namespace
} // namespace vantorel::health
