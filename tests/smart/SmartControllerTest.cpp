// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/smart/SmartController.h"

#include "support/TestData.h"
#include "vantorel/smart/Version.h"
#include "vantorel/smart/records/RecordJson.h"

#include <gtest/gtest.h>

#include <thread>

namespace vantorel {
namespace {

TEST(SmartController, AnNvmeLogNeedsNothingElse)
{
    const Data log = test::readTestData("nvme/smart.bin");
    const auto& controller = SmartController::shared();
    const auto result = controller.processExtractedSmart(log, std::nullopt, true, false, "");
    ASSERT_TRUE(result && result->as<NVMeSmartObject>());
    EXPECT_EQ(controller.processExtractedSmart(log, DataView(log), true, true, "APPLE SSD SM0256G"), result);
    EXPECT_FALSE(controller.processExtractedSmart(DataView(log).first(511), std::nullopt, true, false, ""));
}

TEST(SmartController, AnAtaResultNeedsItsThresholds)
{
    const Data data = test::readTestData("ata/intel-x25m/data.bin");
    const Data thresholds = test::readTestData("ata/intel-x25m/thresholds.bin");
    const auto& controller = SmartController::shared();
    const auto result =
        controller.processExtractedSmart(data, DataView(thresholds), false, true, "INTEL SSDSA2MH080G1GC");
    ASSERT_TRUE(result && result->as<ATASmartObject>());
    EXPECT_EQ(result->as<ATASmartObject>()->deviceInfo, (ATADeviceInfo{"INTEL SSDSA2MH080G1GC", "", ""}));
    EXPECT_EQ(result->rawData(), data);
    EXPECT_EQ(result->rawThresholds(), thresholds);
    EXPECT_EQ(fromJson<ATASmartObject>(toJson(*result)), *result->as<ATASmartObject>());
    EXPECT_FALSE(controller.processExtractedSmart(data, std::nullopt, false, true, ""));
    EXPECT_FALSE(controller.processExtractedSmart(data, DataView(), false, true, ""));
}

TEST(SmartController, ThreadsDoNotDisturbEachOther)
{
    const Data data = test::readTestData("ata/wd-aaks/data.bin");
    const Data log = test::readTestData("nvme/smart.bin");
    const auto work = [&](int seed) {
        for (int i = 0; i < 100; ++i) {
            const std::string model = "WDC WD5000AAKS-00TMA0 " + std::to_string(seed * i);
            const auto ata = SmartController::shared().processExtractedSmart(data, DataView(data), false, false, model);
            const auto nvme = SmartController::shared().processExtractedSmart(log, std::nullopt, true, false, "");
            EXPECT_EQ(ata->as<ATASmartObject>()->smartValues.at(0).name, "Raw Read Error Rate");
            EXPECT_EQ(nvme->as<NVMeSmartObject>()->smartValues.size(), 14U);
        }
    };
    std::thread first(work, 1);
    std::thread second(work, 2);
    first.join();
    second.join();
}

TEST(Version, TextAndNumberAgree)
{
    const std::string text = reinterpret_cast<const char*>(VantorelVersionString);
    EXPECT_EQ(std::stod(text), VantorelVersionNumber);
}

} // namespace
} // namespace vantorel
