// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/ATASmartController.h"

#include "support/AtaSectors.h"
#include "support/TestData.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vantorel {
namespace {

using test::AtaSectors;
using test::attribute;

ATASmartObject resultOf(const AtaSectors& sectors, const std::string& model = "No Such Drive")
{
    return ATASmartController()
        .processExportedSmart(recordBytes(sectors.data()), recordBytes(sectors.thresholds()), true, {model, "", ""})
        .value();
}

TEST(AtaSmartController, AnEmptySectorIsHealthy)
{
    const ATASmartObject result = resultOf(AtaSectors());
    EXPECT_TRUE(result.smartValues.empty());
    EXPECT_EQ(result.health, 100U);
    EXPECT_FALSE(result.temperature);
    EXPECT_EQ(result.assessment, "Drive Assessment");
    EXPECT_EQ(result.status, ATASmartAttributeState::ok);
}

TEST(AtaSmartController, HealthIsTheShareOfGoodValuesInWholePercent)
{
    AtaSectors sectors;
    for (std::size_t slot = 0; slot < 30; ++slot)
        sectors.put(slot, attribute(3, {}), 0);
    EXPECT_EQ(resultOf(sectors).health, 100U);
    sectors.put(29, attribute(3, {}, 10), 10);
    EXPECT_EQ(resultOf(sectors).health, 96U);
    sectors.put(28, attribute(3, {}, 11, 10), 10);
    EXPECT_EQ(resultOf(sectors).health, 93U);
    sectors.misplaceThreshold(28, 9);
    EXPECT_EQ(resultOf(sectors).health, 96U) << "a value without threshold is good";
}

TEST(AtaSmartController, ARemainingLifeAttributeIsTheHealth)
{
    constexpr const char* sandForce = "KINGSTON SH103S3120G"; // its attribute 231 is SSD_Life_Left
    const auto health = [&](std::uint8_t life) {
        return resultOf(AtaSectors().put(0, attribute(3, {}, 1), 50).put(1, attribute(231, {}, life), 0), sandForce)
            .health;
    };
    EXPECT_EQ(health(87), 87U);
    EXPECT_EQ(health(0), 0U);
    EXPECT_EQ(health(100), 100U);
    EXPECT_EQ(health(101), 50U) << "passed over";
    const AtaSectors failed = AtaSectors()
                                  .put(0, attribute(3, {}, 1), 50)
                                  .put(1, attribute(231, {}, 7), 10)
                                  .put(2, attribute(231, {}, 90), 0);
    EXPECT_EQ(resultOf(failed, sandForce).health, 7U) << "the first, although it has failed";

    const AtaSectors wearout = AtaSectors()
                                   .put(0, attribute(233, {}, 200), 0)
                                   .put(1, attribute(233, {}, 64), 0)
                                   .put(2, attribute(233, {}, 9), 0);
    EXPECT_EQ(resultOf(wearout).health, 64U) << "the first that counts";
}

TEST(AtaSmartController, TheFirstTemperatureInTheListIsTheTemperature)
{
    const ATASmartObject result =
        resultOf(AtaSectors().put(3, attribute(190, {30}), 0).put(5, attribute(194, {40}), 0));
    EXPECT_EQ(result.temperature, result.smartValues.at(0));
    EXPECT_EQ(result.temperature->formattedValue, "30\u00B0C");
}

TEST(AtaSmartController, BuffersAreKeptWholeAndShortOnesGiveNoResult)
{
    Data data = recordBytes(AtaSectors().put(0, attribute(3, {9}), 0).data());
    data.resize(700, 0xEE);
    const Data thresholds(512);
    const ATASmartController controller;
    const auto result = controller.processExportedSmart(data, thresholds, false, {});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->rawData, data);
    EXPECT_EQ(result->rawThresholds, thresholds);
    EXPECT_FALSE(controller.processExportedSmart(DataView(data).first(511), thresholds, false, {}));
    EXPECT_FALSE(controller.processExportedSmart(data, DataView(thresholds).first(511), false, {}));
    EXPECT_FALSE(controller.processExportedSmart({}, {}, false, {}));
}

struct Line {
    int id;
    const char* name;
    const char* value;
    int current, worst, threshold;
    ATASmartAttributeState state;
};

void expectLines(const ATASmartObject& result, std::initializer_list<Line> lines)
{
    for (const Line& line : lines) {
        const auto value = std::ranges::find(result.smartValues, line.id, &ATASmartValue::id);
        ASSERT_NE(value, result.smartValues.end()) << line.id;
        EXPECT_EQ(value->name, line.name);
        EXPECT_EQ(value->formattedValue, line.value);
        EXPECT_EQ(value->current, line.current);
        EXPECT_EQ(value->worst, line.worst);
        EXPECT_EQ(value->theshold, line.threshold);
        EXPECT_EQ(value->state, line.state) << line.name;
    }
}

ATASmartObject realDrive(const std::string& folder, const std::string& model, bool isSSD)
{
    return ATASmartController()
        .processExportedSmart(test::readTestData("ata/" + folder + "/data.bin"),
                              test::readTestData("ata/" + folder + "/thresholds.bin"), isSSD, {model, "", ""})
        .value();
}

// The numbers of the real drives were read with another tool from the same sectors.
TEST(AtaSmartController, ReadsRealDrives)
{
    using enum ATASmartAttributeState;
    const ATASmartObject intel = realDrive("intel-x25m", "INTEL SSDSA2MH080G1GC", true);
    EXPECT_EQ(intel.smartValues.size(), 12U);
    EXPECT_EQ(intel.health, 99U) << "its media wearout indicator";
    EXPECT_FALSE(intel.temperature);
    expectLines(intel, {{3, "Spin Up Time", "0", 100, 0, 0, failedInPast},
                        {9, "Power On Hours", "2309", 100, 100, 0, ok},
                        {192, "Unsafe Shutdown Count", "323", 100, 100, 0, ok},
                        {225, "Host Writes 32MiB", "26324500480.0", 200, 200, 0, ok},
                        {228, "Intel Internal", "4294967295", 0, 0, 0, failedNow}});

    const ATASmartObject maxtor = realDrive("maxtor-60", "Maxtor 96147H8", false);
    EXPECT_EQ(maxtor.smartValues.size(), 30U);
    expectLines(maxtor, {{9, "Power On Time", "2016 hours 57 minutes", 248, 248, 0, ok},
                         {8, "Seek Time Performance", "246651382738067", 250, 239, 187, ok},
                         {101, "Unknown Attribute", "0", 253, 253, 0, ok}});

    const ATASmartObject western = realDrive("wd-2500jb", "WDC WD2500JB-00REA0", false);
    EXPECT_EQ(western.health, 93U);
    expectLines(western, {{3, "Spin Up Time", "5675", 186, 1, 21, failedInPast}});
    EXPECT_EQ(western.temperature->id, 194);
}

} // namespace
} // namespace vantorel
