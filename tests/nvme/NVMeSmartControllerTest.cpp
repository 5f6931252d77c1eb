// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/nvme/NVMeSmartController.h"

#include "support/TestData.h"
#include "vantorel/layouts/Nvme.h"
#include "vantorel/system/Localization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantorel {
namespace {

const NVMeSmartController controller;

TEST(NvmeSmartController, AnEmptyLogGivesAWholeResult)
{
    const auto result = controller.processExportedSmart(Data(512));
    ASSERT_TRUE(result);
    std::vector<std::string> names;
    for (const NVMeSmartValue& value : result->smartValues)
        names.push_back(value.name);
    EXPECT_THAT(names, testing::ElementsAre("Temperature", "Available Spare", "Available Spare Threshold",
                                            "Percentage Used", "Data Units Read", "Data Units Written",
                                            "Host Read Commands", "Host Write Commands", "Controller Busy Time",
                                            "Power Cycles", "Power On Hours", "Unsafe Shutdowns",
                                            "Media and Data Integrity Errors", "Error Information Log Entries"));
    EXPECT_EQ(result->health, 100U);
    EXPECT_EQ(result->status, NVMeSmartAttributeState::ok);
    EXPECT_EQ(result->assessment, "S.M.A.R.T Overall Health Result: Passed");
    EXPECT_EQ(result->temperature->formattedValue, "Not supported");
    EXPECT_EQ(result->deviceInfo, (NVMeDeviceInfo{"Unknown", "Unkown", "Unknown", {}}));
    EXPECT_TRUE(result->rawData.empty());
    EXPECT_FALSE(result->rawThresholds);
}

TEST(NvmeSmartController, AWarningShowsInStatusAndAssessmentAndNotInHealth)
{
    NVMeSMARTLog log{};
    log.critical_warning = 0x04;
    const auto result = controller.processExportedSmart(recordBytes(log));
    EXPECT_EQ(result->health, 100U);
    EXPECT_EQ(result->status, NVMeSmartAttributeState::failed);
    EXPECT_EQ(result->assessment, "The NVM subsystem reliability has degraded due to significant media related errors");
}

TEST(NvmeSmartController, OnlyTheFirst512BytesCount)
{
    Data bytes = test::readTestData("nvme/smart.bin");
    const auto result = controller.processExportedSmart(bytes);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->temperature->formattedValue, "50\u00B0C");
    EXPECT_EQ(result->smartValues.at(4).formattedValue, "500 KB");
    EXPECT_EQ(result->smartValues.at(6).formattedValue, "3");
    bytes.resize(600, 0xFF);
    EXPECT_EQ(controller.processExportedSmart(bytes), result);
    EXPECT_FALSE(controller.processExportedSmart(DataView(bytes).first(511)));
}

TEST(NvmeSmartController, TheTemperatureIsFoundByItsTranslatedName)
{
    system::setTranslations({{"Temperature", "Heat"}, {"Temperature of the drive", "Its temperature"}});
    const auto result = controller.processExportedSmart(Data(512));
    EXPECT_EQ(result->smartValues.at(0).name, "Heat");
    EXPECT_EQ(result->smartValues.at(0).info, "Its temperature");
    EXPECT_FALSE(result->temperature);
}

} // namespace
} // namespace vantorel
