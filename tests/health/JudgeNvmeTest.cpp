// SPDX-License-Identifier: GPL-2.0-or-later
#include "Readings.h"

#include <gtest/gtest.h>

#include <functional>

namespace vantorel::health {
namespace {

using enum Level;
using test::gist;
using test::healthyLog;

Verdict verdictOf(const NVMeSMARTLog& log, DataView identify = {})
{
    const Data bytes = recordBytes(log);
    return judge({.kind = Reading::Kind::nvme, .data = bytes, .identify = identify, .isSSD = true});
}

TEST(JudgeNvme, EveryFieldIsJudgedByItsOwnRule)
{
    struct Case {
        std::function<void(NVMeSMARTLog&)> change;
        Level level;
        std::string rule;
    };
    using Log = NVMeSMARTLog;
    for (const Case& c : {
             Case{[](Log&) {}, good, "good"},
             Case{[](Log& l) { l.critical_warning = 0x01; }, failing, "nvme.warns.spare"},
             Case{[](Log& l) { l.critical_warning = 0x02; }, watch, "nvme.warns.heat"},
             Case{[](Log& l) { l.critical_warning = 0x04; }, failing, "nvme.warns.reliability"},
             Case{[](Log& l) { l.critical_warning = 0x08; }, failing, "nvme.warns.read-only"},
             Case{[](Log& l) { l.critical_warning = 0x10; }, watch, "nvme.warns.backup"},
             Case{[](Log& l) { l.critical_warning = 0x20; }, watch, "nvme.warns.persistent-memory"},
             Case{[](Log& l) { l.critical_warning = 0xC0; }, good, "good"},
             // Worn out is not dying, unless something else speaks for it.
             Case{[](Log& l) { l.critical_warning = 4, l.percent_used = 100; }, atRisk, "ssd.worn"},
             Case{[](Log& l) { l.critical_warning = 4, l.percent_used = 99; }, failing, "nvme.warns.reliability"},
             Case{[](Log& l) { l.critical_warning = 4, l.percent_used = 100, l.media_errors[0] = 1; }, failing,
                  "nvme.warns.reliability"},
             Case{[](Log& l) { l.critical_warning = 4, l.percent_used = 100, l.avail_spare = 9; }, failing,
                  "nvme.spare.below-limit"},
             Case{[](Log& l) { l.critical_warning = 5, l.percent_used = 100; }, failing, "nvme.warns.spare"},
             Case{[](Log& l) { l.percent_used = 89; }, good, "good"},
             Case{[](Log& l) { l.percent_used = 90; }, watch, "ssd.wear"},
             Case{[](Log& l) { l.percent_used = 180; }, atRisk, "ssd.worn"},
             Case{[](Log& l) { l.percent_used = 255; }, atRisk, "ssd.worn"},
             Case{[](Log& l) { l.avail_spare = 9; }, failing, "nvme.spare.below-limit"},
             Case{[](Log& l) { l.avail_spare = 10, l.percent_used = 80; }, good, "good"},
             Case{[](Log& l) { l.avail_spare = 11, l.percent_used = 80; }, watch, "nvme.spare.low"},
             Case{[](Log& l) { l.avail_spare = 99, l.spare_thresh = 99; }, good, "good"},
             Case{[](Log& l) { l.avail_spare = 53, l.percent_used = 2; }, watch, "nvme.spare.falls"},
             Case{[](Log& l) { l.avail_spare = 101; }, good, "good"}, // not valid, so no reserve is told
             Case{[](Log& l) { l.avail_spare = 5, l.spare_thresh = 101; }, good, "good"},
             Case{[](Log& l) { l.media_errors[0] = 9; }, watch, "nvme.media.few"},
             Case{[](Log& l) { l.media_errors[0] = 10; }, atRisk, "nvme.media.many"},
             Case{[](Log& l) { l.media_errors[15] = 0x80; }, good, "good"}, // 2^127
             Case{[](Log& l) { l.num_err_log_entries[2] = 1; }, good, "good"},
             Case{[](Log& l) { l.unsafe_shutdowns[0] = 40; }, good, "good"},
             Case{[](Log& l) {
                      l.temperature = {0x60, 0x01};
                  },
                  good, "good"}, // 79 C
             Case{[](Log& l) {
                      l.temperature = {0x61, 0x01};
                  },
                  watch, "heat.high.usual"}, // 80 C
             Case{[](Log& l) {
                      l.temperature = {0x66, 0x01};
                  },
                  atRisk, "heat.critical.usual"}, // 85 C
             Case{[](Log& l) {
                      l.temperature = {0xFF, 0xFF};
                  },
                  good, "good"},
             Case{[](Log& l) { l.temp_sensor[1] = 273 + 95; }, good, "good"}, // sensors have no limit
             Case{[](Log& l) { l = {}; }, unknown, "unknown.empty-log"},
             Case{[](Log& l) { l = {}, l.power_cycles[0] = 3; }, unknown, "unknown.empty-log"},
             Case{[](Log& l) { l.percent_used = 255, l.spare_thresh = 255; }, unknown, "unknown.broken-log"},
         }) {
        NVMeSMARTLog log = healthyLog();
        c.change(log);
        EXPECT_EQ(gist(verdictOf(log)), std::pair(c.level, c.rule));
    }
}

TEST(JudgeNvme, ADriveThatIsWornAndSaysSoHasBothReasons)
{
    NVMeSMARTLog log = healthyLog();
    log.critical_warning = 0x04;
    log.percent_used = 104;
    const Verdict verdict = verdictOf(log);
    EXPECT_EQ(test::rules(verdict.reasons), "ssd.worn nvme.warns.worn");
    EXPECT_EQ(verdict.reasons[0].sentence,
              "worn out: 104 % of its rated life used; many go on for long, but replace it in time");
    EXPECT_EQ(decimalText(*verdict.wear), "104");
}

TEST(JudgeNvme, TheDrivesOwnLimitsOfHeatComeFirst)
{
    NVMeControllerData controller{};
    controller.wctemp = 273 + 62;
    controller.cctemp = 273 + 66;
    const Data identify = recordBytes(controller);
    const auto at = [&](unsigned celsius) {
        NVMeSMARTLog log = healthyLog();
        log.temperature = {static_cast<std::uint8_t>((celsius + 273) & 0xFFU),
                           static_cast<std::uint8_t>((celsius + 273) >> 8U)};
        return gist(verdictOf(log, identify)).second;
    };
    EXPECT_EQ(at(61), "good");
    EXPECT_EQ(at(62), "heat.high");
    EXPECT_EQ(at(66), "heat.critical");
}

} // namespace
} // namespace vantorel::health
