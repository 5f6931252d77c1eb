// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/AtaSmartProcessing.h"

#include "support/AtaSectors.h"
#include "vantorel/ata/DriveTableFile.h"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

using test::AtaSectors;
using test::attribute;
using enum ATASmartAttributeState;

constexpr const char* ownModel = "A DRIVE OF OUR OWN";

/// Gives `ownModel` a row of these presets.
void addRow(const std::string& presets)
{
    const std::string text = "{\"\", \"" + std::string(ownModel) + "\", \"\", \"\", \"" + presets + "\"}";
    addDriveTable(readDriveTable(text, "").table, DriveTableUse::supplement);
}

std::vector<ATASmartValue> processed(const AtaSectors& sectors, const std::string& model = "No Such Drive",
                                     bool isSSD = false)
{
    return processATASmartData(sectors.data(), sectors.thresholds(), {.model = model, .serial = "", .firmware = ""},
                               isSSD);
}

TEST(AtaSmartProcessing, OneSlotGivesOneValue)
{
    const auto values = processed(AtaSectors().put(0, attribute(5, {}, 100, 100, 0x0033), 36));
    ASSERT_EQ(values.size(), 1U);
    const ATASmartValue expected{.id = 5,
                                 .name = "Reallocated Sector Count",
                                 .formattedValue = "0",
                                 .current = 100,
                                 .worst = 100,
                                 .theshold = 36,
                                 .type = SmartAttributeType::preFail,
                                 .state = ok,
                                 .valueType = SmartValueType::string,
                                 .info = "The number of reallocated sectors on the drive. Occurs when the drive finds "
                                         "errors and reallocates data to "
                                         "special reserved area"};
    EXPECT_EQ(values[0], expected);
}

TEST(AtaSmartProcessing, SlotsKeepTheirOrderAndEmptyOnesAreDropped)
{
    const auto values = processed(AtaSectors()
                                      .put(0, attribute(9, {1}), 0)
                                      .put(1, attribute(5, {2}), 0)
                                      .put(2, attribute(0, {3}, 1, 1, 1), 99)
                                      .put(3, attribute(194, {4}), 0)
                                      .put(29, attribute(9, {5}), 0));
    std::vector<std::pair<int, std::string>> seen;
    for (const ATASmartValue& value : values)
        seen.emplace_back(value.id, value.formattedValue);
    const std::vector<std::pair<int, std::string>> expected = {{9, "1"}, {5, "2"}, {194, "4\u00B0C"}, {9, "5"}};
    EXPECT_EQ(seen, expected);
}

TEST(AtaSmartProcessing, AnAttributeIsJudgedByTheThresholdOfItsOwnSlot)
{
    const struct {
        std::uint8_t current;
        std::uint8_t worst;
        std::uint8_t threshold;
        std::uint16_t flag;
        ATASmartAttributeState state;
    } cases[] = {
        {50, 50, 50, 0, failedNow}, {51, 50, 50, 0, failedInPast}, {51, 51, 50, 0, ok},
        {1, 1, 0, 0, ok},           {0, 0, 0, 0, failedNow},       {1, 0, 0, 0, failedInPast},
        {51, 50, 50, 4, ok},        {50, 60, 50, 4, failedNow},    {51, 50, 50, 0xFFFB, failedInPast},
        {51, 50, 50, 0xFFFF, ok},
    };
    for (const auto& [current, worst, threshold, flag, state] : cases) {
        const auto values = processed(AtaSectors().put(7, attribute(3, {}, current, worst, flag), threshold));
        EXPECT_EQ(values.at(0).state, state)
            << int{current} << ' ' << int{worst} << ' ' << int{threshold} << ' ' << flag;
        EXPECT_EQ(values.at(0).type == SmartAttributeType::preFail, (flag & 1) != 0);
    }

    const auto misplaced = processed(AtaSectors().put(0, attribute(3, {}, 1, 1), 50).misplaceThreshold(0, 4));
    EXPECT_EQ(misplaced.at(0).state, noThreshold);
    EXPECT_EQ(misplaced.at(0).theshold, 50);
}

TEST(AtaSmartProcessing, TwoAttributesAreJudgedByRulesOfTheirOwn)
{
    const auto readErrors = [](std::uint8_t current, std::uint8_t worst, std::uint8_t threshold) {
        return processed(AtaSectors().put(0, attribute(1, {}, current, worst), threshold)).at(0).state;
    };
    EXPECT_EQ(readErrors(50, 1, 50), ok);
    EXPECT_EQ(readErrors(49, 200, 50), failedNow);
    EXPECT_EQ(processed(AtaSectors().put(0, attribute(1, {}, 9, 9), 8).misplaceThreshold(0, 2)).at(0).state, ok);

    // Attribute 180 of an SSD counts unused reserve blocks.
    const auto reserve = [](std::uint8_t raw, std::uint8_t current) {
        return processed(AtaSectors().put(0, attribute(180, {raw}, current), 10), "No Such Drive", true).at(0);
    };
    EXPECT_EQ(reserve(0, 100).state, failedNow);
    EXPECT_EQ(reserve(1, 1).state, ok);
    EXPECT_EQ(reserve(1, 1).name, "Unused Reserved Block Count (Total)");
    // A row that shows the count as "0x0000…", which is no whole number.
    const auto micron = processed(AtaSectors().put(0, attribute(180, {0}, 1), 10), "Micron_M600_EEFDDAK128MBF", true);
    EXPECT_EQ(micron.at(0).name, "Unused Reserve NAND Blk");
    EXPECT_EQ(micron.at(0).state, failedNow) << "another name, the common rule";
    EXPECT_EQ(processed(AtaSectors().put(0, attribute(180, {0}, 11), 10)).at(0).state, failedNow) << "on every drive";

    // It is the display name that decides, not the number.
    addRow("-v 180,raw16(raw16),Unused_Rsvd_Blk_Cnt_Tot -v 1,raw48,Other -v 7,raw48,Raw_Read_Error_Rate");
    const auto values = processed(AtaSectors()
                                      .put(0, attribute(180, {0, 0, 1}, 1), 10)
                                      .put(1, attribute(1, {}, 10), 10)
                                      .put(2, attribute(7, {}, 10), 10),
                                  ownModel);
    EXPECT_EQ(values.at(0).formattedValue, "0(0 1)");
    EXPECT_EQ(values.at(0).state, ok) << "no whole number";
    EXPECT_EQ(values.at(1).state, failedNow);
    EXPECT_EQ(values.at(2).state, ok);
}

TEST(AtaSmartProcessing, TheTypeOfAValueFollowsFromFormatAndName)
{
    using enum SmartValueType;
    const std::pair<const char*, SmartValueType> cases[] = {
        {"tempminmax,X", temperature},   {"temp10x,X_GiB", temperature}, {"sec2hour,X", time},
        {"min2hour,X_Perc", time},       {"halfmin2hour,X", time},       {"msec24hour32,X_MiB", time},
        {"raw48,X_GiB", bytes},          {"raw48,XMiBX", bytes},         {"raw48,Gigabytes", bytes},
        {"raw48,Perc_GiB", bytes},       {"raw48,XPercX", percentage},   {"raw48,x_gib_perc", string},
        {"raw48,Temperature_C", string}, {"raw24(raw8),Hours", string},  {"raw48", string},
    };
    std::string presets;
    AtaSectors sectors;
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        presets += "-v " + std::to_string(100 + i) + ',' + cases[i].first + ' ';
        sectors.put(i, attribute(static_cast<std::uint8_t>(100 + i), {}), 0);
    }
    addRow(presets);
    const auto values = processed(sectors, ownModel);
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(values.at(i).valueType, cases[i].second) << cases[i].first;
}

TEST(AtaSmartProcessing, TheDrivesRowAddsToTheDefaults)
{
    const AtaSectors sectors = AtaSectors()
                                   .put(0, attribute(9, {120, 0, 0, 1}), 0)
                                   .put(1, attribute(5, {7}), 0)
                                   .put(2, attribute(175, {3}), 0);
    const auto samsung = processed(sectors, "SAMSUNG SV0412H");
    EXPECT_EQ(samsung.at(0).formattedValue, "139811 hours 8 minutes"); // half minutes
    EXPECT_EQ(samsung.at(0).name, "Powered on");
    EXPECT_EQ(samsung.at(0).valueType, SmartValueType::time);
    EXPECT_EQ(samsung.at(1).name, "Reallocated Sector Count");

    const auto other = processed(sectors);
    EXPECT_EQ(other.at(0).formattedValue, "120 (0 0 1)");
    EXPECT_EQ(other.at(0).valueType, SmartValueType::string);

    const auto apple = processed(sectors, "APPLE SSD SM0256G", true);
    EXPECT_EQ(apple.at(2).name, "Host Writes");
    EXPECT_EQ(apple.at(2).formattedValue, "3145728.0");
    EXPECT_EQ(apple.at(2).valueType, SmartValueType::bytes);
}

TEST(AtaSmartProcessing, AnUnknownAttributeIsStillShown)
{
    const auto values = processed(AtaSectors().put(0, attribute(99, {1, 1}), 0));
    EXPECT_EQ(values.at(0).name, "Unknown Attribute");
    EXPECT_EQ(values.at(0).info, "");
    EXPECT_EQ(values.at(0).formattedValue, "257");
}

TEST(AtaSmartProcessing, ADefinitionWithoutNameTakesTheNameOfTheKindOfDrive)
{
    // This family's row reads attribute 193 in another format and gives no name; the default name is for hard disks.
    const AtaSectors sectors = AtaSectors().put(0, attribute(193, {1, 0, 0, 2}), 0);
    EXPECT_EQ(processed(sectors, "HITACHI_DK23BA-20").at(0).name, "Load Cycle Count");
    EXPECT_EQ(processed(sectors, "HITACHI_DK23BA-20", true).at(0).name, "Unknown Attribute");
    EXPECT_EQ(processed(sectors, "HITACHI_DK23BA-20").at(0).formattedValue, "2/1");
}

} // namespace
} // namespace vantorel
