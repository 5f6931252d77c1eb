// SPDX-License-Identifier: GPL-2.0-or-later
#include "Readings.h"
#include "support/TestData.h"

#include <gtest/gtest.h>

#include <functional>

namespace vantorel::health {
namespace {

using enum Level;
using test::AtaDrive;
using test::gist;
using test::Slot;

TEST(JudgeDisk, LimitsHoldFromOneTo253ForNamesOfThisKindOfDrive)
{
    struct Case {
        Slot slot;
        Level level;
        std::string rule;
        std::string setAside;
    };
    for (const Case& c : {
             Case{{5, 0, 36, 36, 36, true}, failing, "ata.limit", ""},
             Case{{5, 0, 1, 1, 1, true}, failing, "ata.limit", ""},
             Case{{5, 0, 37, 36, 36, true}, watch, "ata.limit.once", ""},
             Case{{5, 0, 37, 37, 36, true}, good, "good", ""},
             Case{{5, 0, 253, 253, 253, true}, failing, "ata.limit", ""},
             Case{{5, 0, 0, 0, 0, true}, good, "good", "aside.no-limit"},
             Case{{5, 0, 200, 200, 254, true}, good, "good", "aside.odd-limit"},
             Case{{5, 0, 200, 200, 255, true}, good, "good", "aside.odd-limit"},
             Case{{184, 0, 98, 98, 99}, atRisk, "ata.limit.damage", ""},
             Case{{190, 0, 45, 45, 45}, good, "good", "aside.use"},
             Case{{190, 0, 70, 44, 45}, good, "good", "aside.once"},
             Case{{3, 0, 90, 20, 21, true}, good, "good", "aside.once"},
             Case{{3, 0, 20, 20, 21, true}, failing, "ata.limit", ""},
             Case{{180, 0, 1, 1, 10, true}, good, "good", "aside.not-its-name"}, // an SSD's
             Case{{99, 0, 1, 1, 10, true}, good, "good", "aside.not-its-name"},
         }) {
        const AtaDrive drive({c.slot, {10, 0, 100, 100, 97, true}});
        const Verdict verdict = judge(drive.reading());
        EXPECT_EQ(gist(verdict), std::pair(c.level, c.rule)) << int{c.slot.id} << ' ' << int{c.slot.threshold};
        EXPECT_EQ(test::rules(verdict.setAside), c.setAside) << int{c.slot.id} << ' ' << int{c.slot.threshold};
    }
}

TEST(JudgeDisk, CountsAreJudgedByMeasuredFailureRates)
{
    struct Case {
        Slot slot;
        Level level;
        std::string rule;
    };
    for (const Case& c : {
             Case{{5, 3}, good, "good"},
             Case{{5, 4}, watch, "hdd.reallocated.raised"},
             Case{{5, 15}, watch, "hdd.reallocated.raised"},
             Case{{5, 16}, atRisk, "hdd.reallocated.high"},
             Case{{197, 1}, atRisk, "hdd.pending.high"},
             Case{{198, 1}, atRisk, "hdd.unreadable.high"},
             Case{{187, 1}, atRisk, "hdd.reported.high"},
             Case{{196, 10}, good, "good"},
             Case{{196, 11}, watch, "hdd.moves.raised"},
             Case{{196, 27}, atRisk, "hdd.moves.high"},
             Case{{10, 1}, watch, "hdd.spin-retry"},
             Case{{11, 70}, good, "good"},
             Case{{184, 1}, watch, "hdd.end-to-end"},
             // Cable, power and what mirrors models alone.
             Case{{199, 3'118'119}, good, "good"},
             Case{{183, 40}, good, "good"},
             Case{{188, 50}, good, "good"},
             Case{{189, 58, 42}, good, "good"},
             Case{{192, 9}, good, "good"},
             Case{{195, 0, 17, 3}, good, "good"},
             Case{{194, 59}, good, "good"},
             Case{{194, 60}, watch, "heat.high.usual"},
         })
        EXPECT_EQ(gist(judge(AtaDrive({c.slot, {2, 0, 100, 100, 54, true}}).reading())), std::pair(c.level, c.rule))
            << int{c.slot.id} << ' ' << c.slot.raw;
}

TEST(JudgeDisk, TheSentenceGivesTheRateOfTheBucketBesideThatOfNone)
{
    const Verdict verdict = judge(AtaDrive({{5, 63}, {197, 529}, {187, 2}}).reading());
    EXPECT_EQ(verdict.level, atRisk);
    EXPECT_EQ(test::rules(verdict.reasons), "hdd.pending.high hdd.reallocated.high hdd.reported.high");
    const Reason& worst = verdict.reasons[0];
    EXPECT_EQ(worst.sentence,
              "529 sectors wait to be rewritten: disks with 250 to 649 last 110 days on average, those with "
              "none fail at 2.6 % a year");
    EXPECT_EQ(worst.attribute, 197);
    EXPECT_EQ(worst.name, "Current_Pending_Sector");
    EXPECT_EQ(worst.value->unit, Unit::sectors);
    EXPECT_DOUBLE_EQ(worst.rate->low, 2.588);
    EXPECT_DOUBLE_EQ(worst.rateWithout->high, 0.0281);
    EXPECT_EQ(judge(AtaDrive({{197, 1}}).reading()).reasons[0].sentence,
              "1 sector waits to be rewritten: disks with 1 fail at 34 % a year, those with none at 2.6 %");
    EXPECT_EQ(judge(AtaDrive({{5, 2}, {197, 0}}).reading()).reasons[0].sentence,
              "only 2 sectors replaced, none waiting");
}

TEST(JudgeSsd, WearAndReserveCountAndNoRateOfDisksDoes)
{
    struct Case {
        std::vector<Slot> slots;
        std::string model;
        Level level;
        std::string rule;
    };
    const std::string intel = "INTEL SSDSC2KB240G7";
    const std::string samsung = "Samsung SSD 860";
    for (const Case& c : {
             Case{{{233, 0, 15}}, intel, good, "good"},
             Case{{{233, 0, 10}}, intel, watch, "ssd.wear"},
             Case{{{233, 0, 1}}, intel, atRisk, "ssd.worn"},
             Case{{{177, 1773, 10}}, samsung, watch, "ssd.wear"},
             Case{{{177, 1773, 1}}, samsung, atRisk, "ssd.worn"},
             Case{{{177, 0, 0, 0}, {187, 0}}, samsung, good, "good"}, // says nothing
             Case{{{177, 1773, 1}, {187, 0}}, "ACME", good, "good"},  // another maker's
             Case{{{5, 200}, {187, 0}}, samsung, good, "good"},
             Case{{{232, 0, 21, 21, 10}}, intel, good, "good"},
             Case{{{232, 0, 20, 20, 10}}, intel, watch, "ssd.spare.low"},
             Case{{{232, 0, 10, 10, 10}}, intel, atRisk, "ata.limit.damage"},
             Case{{{232, 0, 10, 10, 10, true}}, intel, failing, "ata.limit"},
             Case{{{232, 0, 1, 1}}, intel, atRisk, "ssd.spare.out"}, // without a limit
             Case{{{232, 0, 0, 0}}, intel, unknown, "unknown.nothing-known"},
             Case{{{187, 9}}, samsung, watch, "ssd.reported.few"},
             Case{{{187, 10}}, samsung, atRisk, "ssd.reported.many"},
             Case{{{197, 1}, {187, 0}}, samsung, good, "good"},
             Case{{{202, 100, 0, 0}}, "Micron_5300_MTFDDAK960TDS", unknown, "unknown.nothing-known"}, // it has no row
             Case{{{194, 69}, {187, 0}}, samsung, good, "good"},
             Case{{{194, 70}, {187, 0}}, samsung, watch, "heat.high.usual"},
         })
        EXPECT_EQ(gist(judge(AtaDrive(c.slots, c.model, true).reading())), std::pair(c.level, c.rule))
            << c.model << ' ' << int{c.slots[0].id} << ' ' << int{c.slots[0].current};
}

TEST(JudgeDisk, RowsOfLowConfidenceGiveNotesAlone)
{
    const drive_settings row{"Innodisk 3IE2/3ME2/3MG2/3SE2/3TG6 SSDs", "3IE2-P", "", "", "-v 248,raw48,Remaining_Life"};
    addDriveTable({.name = "test", .rows = {&row, 1}}, DriveTableUse::override);
    const AtaDrive drive({{248, 0}, {187, 0}}, "3IE2-P", true);
    const Verdict verdict = judge(drive.reading());
    EXPECT_EQ(verdict.level, good);
    EXPECT_EQ(test::rules(verdict.notes), "ssd.worn");
    EXPECT_FALSE(verdict.wear);
}

TEST(JudgeAta, TheDrivesOwnWordIsBelieved)
{
    const AtaDrive sound({{5, 0}});
    const AtaDrive worn({{5, 0, 36, 36, 36, true}});
    Reading reading = sound.reading();
    reading.saysFailing = true;
    EXPECT_EQ(gist(judge(reading)), std::pair(failing, std::string("drive.says-failing-unexplained")));
    reading = worn.reading();
    reading.saysFailing = true;
    EXPECT_EQ(test::rules(judge(reading).reasons), "ata.limit drive.says-failing");
    reading.saysFailing = false;
    EXPECT_EQ(test::rules(judge(reading).reasons), "ata.limit");
    const Data zeros(512);
    EXPECT_EQ(test::rules(judge({.data = zeros, .saysFailing = true}).reasons),
              "drive.says-failing-unexplained unknown.repeated-byte");
}

TEST(JudgeAta, BytesThatAreNoAttributeTableGiveNoVerdict)
{
    const AtaDrive drive({{5, 40}, {10, 0}});
    struct Case {
        std::string rule;
        std::function<void(AtaDrive&, Reading&)> spoil;
    };
    const auto fill = [](std::uint8_t byte) {
        return [byte](AtaDrive& spoilt, Reading&) { std::ranges::fill(spoilt.data, byte); };
    };
    Data identity(512, ' ');
    for (const Case& c : {
             Case{"unknown.repeated-byte", fill(0x00)},
             Case{"unknown.repeated-byte", fill(0xFF)},
             Case{"unknown.repeated-byte", fill(0xA5)},
             Case{"unknown.too-few-bytes", [](AtaDrive&d, Reading&r) { r.data = DataView(d.data).first(511); }},
             Case{"unknown.ids-twice", [](AtaDrive&d, Reading&) { d.data[2 + 12] = 5; }},
             Case{"unknown.not-smart", [](AtaDrive&d, Reading&) { d.data[0] = d.data[1] = 0xFF; }},
             Case{"unknown.not-smart", [](AtaDrive&d, Reading&) { std::fill_n(d.data.begin() + 26, 480, 0); }},
             Case{"unknown.stale", [](AtaDrive&d, Reading&r) { r.thresholds = d.data; }},
             Case{"unknown.stale", [](AtaDrive&d, Reading&r) { r.identify = d.data; }},
             Case{"unknown.other-drive",
                  [&](AtaDrive&, Reading&r) {
                      std::ranges::copy(std::string("CAEMD KSI2"),
                                        identity.begin() + 54); // "ACME DISK 2" would differ too
                      r.identify = identity;
                  }},
         }) {
        AtaDrive spoilt = drive;
        Reading reading = spoilt.reading();
        c.spoil(spoilt, reading);
        EXPECT_EQ(gist(judge(reading)), std::pair(unknown, c.rule));
    }
    // Nothing but use and the link, and no limit: nothing can be said of such a drive.
    EXPECT_EQ(gist(judge(AtaDrive({{99, 1}, {199, 7}}).reading())),
              std::pair(unknown, std::string("unknown.nothing-known")));
}

TEST(JudgeAta, AWrongChecksumTakesTheWordFailingBack)
{
    AtaDrive drive({{5, 0, 36, 36, 36, true}});
    drive.data[511] ^= 1;
    const Verdict verdict = judge(drive.reading());
    EXPECT_TRUE(verdict.doubtful);
    EXPECT_EQ(gist(verdict), std::pair(atRisk, std::string("ata.limit")));
    EXPECT_EQ(test::rules(verdict.notes), "doubt.checksum");
}

TEST(JudgeAta, ThresholdsOfAnotherDriveAreNotHeldAgainstIt)
{
    AtaDrive drive({{5, 0, 36, 36, 36, true}, {10, 0}});
    for (std::size_t slot = 1; slot < 5; ++slot)
        drive.thresholds[2 + 12 * slot] = static_cast<std::uint8_t>(100 + slot);
    drive.mendSums();
    const Verdict verdict = judge(drive.reading());
    EXPECT_EQ(verdict.level, good);
    EXPECT_EQ(test::rules(verdict.notes), "doubt.thresholds");
}

TEST(JudgeDisk, HoursThatCannotBeAreTold)
{
    struct Case {
        std::vector<Slot> slots;
        bool isTold;
    };
    for (const Case& c : {
             Case{{{9, 8765}, {240, 8789}}, false},
             Case{{{9, 8765}, {240, 8790}}, true}, // its heads have flown a day longer
             Case{{{9, 8765, 99, 94}}, false},
             Case{{{9, 8765, 99, 93}}, true},
             Case{{{9, 8765, 99, 0}}, false}, // no worst one is kept
             Case{{{9, 8765, 94, 99}}, false},
         }) {
        const Verdict verdict = judge(AtaDrive(c.slots).reading());
        EXPECT_EQ(test::rules(verdict.notes), c.isTold ? "doubt.clock" : "")
            << c.slots[0].raw << ' ' << int{c.slots[0].worst};
    }
}

TEST(JudgeAta, AReserveOfZeroIsSetAsideUnderTheNameThatManyMakersMisuse)
{
    struct Case {
        Slot slot;
        const char* model;
        bool isSSD;
        const char* setAside;
    };
    for (const Case& c : {
             Case{{180, 0, 100, 100, 10}, "ACME", true, "aside.count-of-zero"},
             Case{{180, 0, 100, 100, 0}, "ACME", true, "aside.count-of-zero"},
             Case{{180, 1, 100, 100, 10}, "ACME", true, ""},
             Case{{180, 0, 100, 100, 10}, "ACME", false, "aside.not-its-name"},
             Case{{180, 1, 100, 100, 10}, "ACME", false, ""},
             Case{{180, 0, 100, 100, 10}, "Micron_1100_MTFDDAV256TBN", true, ""}, // Unused_Reserve_NAND_Blk
             Case{{181, 0, 100, 100, 10}, "ACME", true, ""},
         }) {
        const Verdict verdict = judge(AtaDrive({c.slot}, c.model, c.isSSD).reading());
        EXPECT_EQ(test::rules(verdict.setAside), c.setAside) << c.model << ' ' << c.isSSD << ' ' << c.slot.raw;
    }
}

TEST(JudgeAta, ImpossibleCountsAreSetAside)
{
    const Verdict verdict = judge(AtaDrive({{197, 0xFFFF'FFFF'FFFF}, {5, 0}}).reading());
    EXPECT_EQ(verdict.level, good);
    EXPECT_EQ(test::rules(verdict.setAside), "aside.impossible");
}

TEST(JudgeAta, DamagedDisksOfOldAreReadAsAPersonWould)
{
    struct Case {
        std::string folder;
        std::string model;
        bool isSSD;
        Level level;
        std::string reasons;
    };
    for (const Case& c : {
             Case{"intel-x25m", "INTEL SSDSA2MH080G1GC", true, good, "good"}, // its limits are all 0
             Case{"maxtor-60", "Maxtor 96147H8", false, atRisk, "hdd.pending.high hdd.reallocated.high hdd.spin-retry"},
             Case{"wd-2500jb", "WDC WD2500JB-00REA0", false, atRisk, "hdd.pending.high"},
             Case{"wd-aaks", "WDC WD5000AAKS-00TMA0", false, atRisk,
                  "hdd.pending.high hdd.reallocated.high hdd.moves.high"},
         }) {
        const Data data = test::readTestData("ata/" + c.folder + "/data.bin");
        const Data thresholds = test::readTestData("ata/" + c.folder + "/thresholds.bin");
        const Verdict verdict = judge({.data = data, .thresholds = thresholds, .model = c.model, .isSSD = c.isSSD});
        EXPECT_EQ(verdict.level, c.level) << c.folder;
        EXPECT_EQ(test::rules(verdict.reasons), c.reasons) << c.folder;
    }
}

} // namespace
} // namespace vantorel::health
