// SPDX-License-Identifier: GPL-2.0-or-later
#include "health/Typing.h"

#include "Readings.h"

#include <gtest/gtest.h>

namespace vantorel::health {
namespace {

using Format = ata_attr_raw_format;

TEST(Typing, EveryFormatGivesTheNumberThatCounts)
{
    struct Case {
        Format format;
        std::array<std::uint8_t, 6> raw;
        std::string number;
        Unit unit;
        std::vector<std::uint64_t> besides;
    };
    for (const Case& c : {
             Case{Format::raw8, {1, 2, 3, 4, 5, 6}, "1", Unit::none, {}},
             Case{Format::raw16, {1, 2, 3, 4, 5, 6}, "513", Unit::none, {1027, 1541}},
             Case{Format::raw48, {1, 2, 3, 4, 5, 6}, "6618611909121", Unit::none, {}},
             Case{Format::raw16_raw16, {1, 2, 0, 0, 0, 0}, "513", Unit::none, {}},
             Case{Format::raw16_raw16, {1, 2, 3, 0, 0, 0}, "513", Unit::none, {3, 0}},
             Case{Format::raw16_avg16, {1, 2, 3, 4, 5, 6}, "513", Unit::none, {1027}},
             Case{Format::raw24_raw8, {1, 2, 3, 4, 5, 6}, "197121", Unit::none, {}},
             Case{Format::raw24_div_raw24, {1, 2, 3, 4, 5, 6}, "394500", Unit::none, {197121}},
             Case{Format::raw24_div_raw32, {1, 2, 3, 4, 5, 6}, "460293", Unit::none, {67305985}},
             Case{Format::sec2hour, {1, 2, 0, 0, 0, 0}, "513", Unit::seconds, {}},
             Case{Format::min2hour, {1, 2, 3, 0, 5, 6}, "197121", Unit::minutes, {}},
             Case{Format::halfmin2hour, {1, 2, 0, 0, 0, 0}, "15390", Unit::seconds, {}},
             Case{Format::msec24hour32, {2, 1, 0, 0, 5, 6}, "929260293", Unit::milliseconds, {}},
             Case{Format::tempminmax, {36, 0, 0, 0, 0, 0}, "36", Unit::celsius, {}},
             Case{Format::tempminmax, {36, 0, 24, 0, 38, 0}, "36", Unit::celsius, {}},
             Case{Format::tempminmax, {0xF6, 0xFF, 0, 0, 0, 0}, "-10", Unit::celsius, {}},
             Case{Format::temp10x, {49, 1, 0, 0, 0, 0}, "30.5", Unit::celsius, {}},
         }) {
        const IOATASmartAttribute bytes = test::attribute(77, c.raw, 98, 97, 0, 7);
        const TypedValue value = typedValue(bytes, {.format = c.format}, nullptr, {});
        EXPECT_EQ(decimalText(value), c.number) << static_cast<int>(c.format);
        EXPECT_EQ(value.unit, c.unit) << c.number;
        EXPECT_EQ(std::vector(value.besides.begin(), value.besides.begin() + value.besidesCount), c.besides)
            << c.number;
    }
}

TEST(Typing, HundredthsShareAWordInWhateverWordsTheTableShowsIt)
{
    struct Case {
        Width width;
        std::array<std::uint8_t, 6> raw;
        std::string number;
    };
    for (const Format format : {Format::raw48, Format::hex48, Format::raw16}) {
        for (const Case& c : {Case{Width::highByte, {25, 12, 1, 3, 7, 5}, "12.25"},
                              Case{Width::highByte, {99, 0, 0, 0, 99, 0}, "0.99"}, // nearly new, and not nearly worn
                              Case{Width::hundredths, {0xA3, 0x25, 1, 0, 0, 0}, "96.35"}}) {
            const MeaningRow row{.meaning = Meaning::enduranceUsed, .measure = {Unit::percent}, .width = c.width};
            const TypedValue value = typedValue(test::attribute(230, c.raw), {.format = format}, &row, {});
            EXPECT_EQ(decimalText(value), c.number) << static_cast<int>(format);
            EXPECT_TRUE(value.plausible);
        }
    }
}

TEST(Typing, ExtremesOfATemperatureComeAsWordsOrBytesInEitherOrder)
{
    struct Case {
        std::array<std::uint8_t, 6> raw;
        std::string extremes;
    };
    for (const Case& c : {
             Case{{32, 0, 24, 0, 38, 0}, "24 38"},
             Case{{32, 0, 38, 0, 24, 0}, "24 38"},
             Case{{32, 0, 24, 38, 0, 0}, "24 38"},
             Case{{2, 0, 0xFB, 0xFF, 38, 0}, "-5 38"},
             Case{{32, 0, 0, 0, 24, 0}, ""},  // one of the two alone
             Case{{32, 0, 33, 0, 38, 0}, ""}, // above the current one
             Case{{32, 0, 0, 0, 0, 0}, ""},
             Case{{0, 0, 0, 0, 0, 0}, ""},
             Case{{24, 0, 24, 0, 38, 0}, "24 38"},
             Case{{38, 0, 24, 0, 38, 0}, "24 38"},
             Case{{39, 0, 24, 0, 38, 0}, ""},
             Case{{32, 0, 0xC4, 0xFF, 120, 0}, "-60 120"},
             Case{{32, 0, 0xC3, 0xFF, 38, 0}, ""},
             Case{{32, 0, 24, 0, 121, 0}, ""},
             Case{{32, 0, 24, 38, 0, 1}, ""},             // words, of which one is too large
             Case{{0xFB, 0, 0xF6, 0xFF, 0, 0}, "-10 -1"}, // bytes, and no word of -10
             Case{{0xFE, 0, 0, 0, 0xFB, 0xFF}, "-5 0"},
             Case{{32, 0, 0, 38, 0, 0}, "0 38"},
             Case{{32, 0, 38, 0, 0, 0}, "0 38"},
         }) {
        const TypedValue value = typedValue(test::attribute(194, c.raw), {.format = Format::tempminmax}, nullptr, {});
        EXPECT_EQ(value.minimum ? decimalText(*value.minimum) + ' ' + decimalText(*value.maximum) : "", c.extremes)
            << int{c.raw[2]};
    }
}

TEST(Typing, NameNumberKindAndFamilyTogetherDecideWhatANumberMeans)
{
    struct Case {
        test::Slot slot;
        std::string model;
        bool isSSD;
        Meaning meaning;
        std::string number;
        Unit unit;
    };
    using enum Meaning;
    for (const Case& c : {
             Case{{5, 0x0001'0002'0003}, "ACME", false, reallocatedSectors, "3", Unit::sectors},
             Case{{5, 0x0001'0002'0003}, "ACME", true, reallocatedSectors, "3", Unit::blocks},
             Case{{188, 0x0004'0004'0004}, "ST3000NM0033-9ZM178", false, commandTimeouts, "4", Unit::count},
             Case{{188, 0x0000'0001'0004}, "ACME", false, commandTimeouts, "65540", Unit::count},
             Case{{187, 0x0000'0001'0001}, "ACME", false, reportedUncorrect, "1", Unit::count},
             Case{{183, 31}, "Micron_5300_X", true, linkDownshifts, "31", Unit::count},
             Case{{183, 31}, "Samsung SSD X", true, badBlocksGrown, "31", Unit::blocks},
             Case{{177, 401}, "Samsung SSD X", true, enduranceLeftByValue, "401", Unit::none},
             Case{{177, 401}, "ACME", true, information, "401", Unit::none},
             Case{{180, 0}, "ACME", false, unknown, "0", Unit::none}, // an SSD's name
             Case{{231, 31}, "ACME", false, temperature, "31", Unit::celsius},
             Case{{231, 31}, "ACME", true, unknown, "31", Unit::none}, // mostly life left
             Case{{241, 3}, "INTEL SSDSC2KB240G7", true, hostWritten, "100663296", Unit::bytes},
             Case{{241, 3}, "ACME", true, hostWritten, "1536", Unit::bytes},
             Case{{9, 0x34B5'0000'9D77}, "ACME", false, powerOnTime, "40311", Unit::hours},
             Case{{9, 0x34B5'0100'9D77}, "ACME", false, powerOnTime, "40311", Unit::hours},
             Case{{178, 0x0001'25A3}, "SDLF1DAR-480G-1HA1", true, enduranceLeft, "96.35", Unit::percent},
             Case{{22, 0x0064'0064}, "ACME", false, unknown, "6553700", Unit::none}, // no name in the default row
         }) {
        const test::AtaDrive drive({c.slot}, c.model, c.isSSD);
        const Attribute attribute = attributesOf(drive.reading()).front();
        EXPECT_EQ(attribute.meaning, c.meaning) << int{c.slot.id} << ' ' << c.model;
        EXPECT_EQ(decimalText(attribute.value), c.number) << int{c.slot.id} << ' ' << c.model;
        EXPECT_EQ(attribute.value.unit, c.unit) << int{c.slot.id} << ' ' << c.model;
    }
}

TEST(Typing, WhatNoDriveCanHaveIsNotPlausible)
{
    struct Case {
        test::Slot slot;
        bool plausible;
    };
    for (const Case& c : {
             Case{{197, 0xFFFF'FFFF'FFFF}, false},
             Case{{197, 0xFFFF'FFFF}, false},
             Case{{197, 0xFFFF'FFFE}, true},
             Case{{9, 200'000}, true},
             Case{{9, 200'001}, false},
             Case{{194, 110}, true},
             Case{{194, 111}, false},
             Case{{194, 255}, true},                                // -1
             Case{{194, 0xEC}, true},                               // -20
             Case{{194, 0xEB}, false},                              // -21
             Case{{241, 8766ULL * 3600 * 300'000'000 / 512}, true}, // more than the interface carries in 8765 hours
             Case{{241, 8768ULL * 3600 * 300'000'000 / 512}, false},
         }) {
        const test::AtaDrive drive({c.slot});
        EXPECT_EQ(attributesOf(drive.reading()).front().value.plausible, c.plausible)
            << int{c.slot.id} << ' ' << c.slot.raw;
    }
}

TEST(Typing, EveryFieldOfAnNvmeLogHasItsUnit)
{
    NVMeSMARTLog log{};
    log.critical_warning = 1;
    log.temperature = {0x44, 0x01};
    log.avail_spare = 3;
    log.spare_thresh = 4;
    log.percent_used = 255;
    std::uint8_t next = 6;
    for (auto* const counter :
         {&log.data_units_read, &log.data_units_written, &log.host_reads, &log.host_writes, &log.ctrl_busy_time,
          &log.power_cycles, &log.power_on_hours, &log.unsafe_shutdowns, &log.media_errors, &log.num_err_log_entries})
        (*counter)[0] = next++;
    log.warning_temp_time = 16;
    log.critical_comp_time = 17;
    log.temp_sensor[0] = 273 + 18;
    log.temp_sensor[7] = 273 + 255;
    const auto told = [](const NVMeSMARTLog& of) {
        std::string text;
        const Data bytes = recordBytes(of);
        for (const Attribute& a : attributesOf({.kind = Reading::Kind::nvme, .data = bytes, .isSSD = true})) {
            text += a.name + ' ' + decimalText(a.value) + ' ' + std::string(rawValue(a.value.unit));
            text += a.value.plausible ? "\n" : " ?\n";
        }
        return text;
    };
    // More unsafe shutdowns than starts cannot be.
    EXPECT_EQ(told(log), "CriticalWarning 1 flags\nTemperature 51 celsius\nAvailableSpare 3 percent\n"
                         "AvailableSpareThreshold 4 percent\nPercentageUsed 255 percent\nDataUnitsRead 3072000 bytes\n"
                         "DataUnitsWritten 3584000 bytes\nHostReadCommands 8 count\nHostWriteCommands 9 count\n"
                         "ControllerBusyTime 10 minutes\nPowerCycles 11 count\nPowerOnHours 12 hours\n"
                         "UnsafeShutdowns 13 count ?\nMediaAndDataIntegrityErrors 14 count\n"
                         "ErrorInformationLogEntries 15 count\nWarningTemperatureTime 16 minutes\n"
                         "CriticalTemperatureTime 17 minutes\nTemperatureSensor1 18 celsius\n"
                         "TemperatureSensor8 255 celsius ?\n");
    NVMeSMARTLog broken{};
    broken.avail_spare = 101;
    broken.spare_thresh = 255;
    broken.percent_used = 255;
    EXPECT_TRUE(
        told(broken).starts_with("CriticalWarning 0 flags\nTemperature -273 celsius ?\nAvailableSpare 101 percent ?\n"
                                 "AvailableSpareThreshold 255 percent ?\nPercentageUsed 255 percent ?\n"))
        << told(broken);
    EXPECT_EQ(attributesOf({.kind = Reading::Kind::nvme, .data = DataView(), .isSSD = true}).size(), 0U);
}

TEST(Typing, ThresholdsAreFoundInTheirSlotOrElsewhere)
{
    test::AtaSectors sectors;
    sectors.put(0, test::attribute(5, {}), 36).put(1, test::attribute(9, {}), 7).put(2, test::attribute(12, {}), 3);
    sectors.misplaceThreshold(0, 9).misplaceThreshold(1, 5);
    const Data data = recordBytes(sectors.data());
    const Data thresholds = recordBytes(sectors.thresholds());
    const auto attributes = attributesOf({.data = data, .thresholds = thresholds, .model = "ACME"});
    EXPECT_EQ(attributes[0].threshold, 7);
    EXPECT_EQ(attributes[1].threshold, 36);
    EXPECT_EQ(attributes[2].threshold, 3);
    EXPECT_FALSE(attributesOf({.data = data, .model = "ACME"})[0].threshold);
    EXPECT_TRUE(attributesOf({.data = DataView(data).first(361), .model = "ACME"}).empty());
}

} // namespace
} // namespace vantorel::health
