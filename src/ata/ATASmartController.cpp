// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/ATASmartController.h"

#include "MakeResult.h"
#include "ata/AtaSmartProcessing.h"
#include "vantorel/base/Text.h"

#include <algorithm>

namespace vantorel {

namespace {

/// A whole percentage: what a remaining-life attribute says, else the share of good values.
std::uint64_t gethealth(const std::vector<ATASmartValue>& smartValues)
{
    std::uint64_t good = 0;
    for (const ATASmartValue& value : smartValues) {
        if (!hasFailed(value.state))
            ++good;
        const bool tellsLife =
            base::containsIgnoringCase(value.name, "life") || base::containsIgnoringCase(value.name, "wearout");
        if (tellsLife && value.current <= 100)
            return value.current;
    }
    return smartValues.empty() ? 100 : good * 100 / smartValues.size();
}

} // namespace

ATASmartObject ata::makeResult(const ATASMARTData& smartData, const ATASMARTDataThresholds& thresholds,
                               ATADeviceInfo deviceInfo, bool isSSD, Data rawData, Data rawThresholds)
{
    ATASmartObject result;
    result.smartValues = processATASmartData(smartData, thresholds, deviceInfo, isSSD);
    result.deviceInfo = std::move(deviceInfo);
    const auto temperature = std::ranges::find_if(result.smartValues, [](const ATASmartValue& value) {
        return base::containsIgnoringCase(value.name, "temperature");
    });
    if (temperature != result.smartValues.end())
        result.temperature = *temperature;
    result.health = gethealth(result.smartValues);
    result.assessment = "Drive Assessment";
    result.status = ATASmartAttributeState::ok;
    result.rawData = std::move(rawData);
    result.rawThresholds = std::move(rawThresholds);
    return result;
}

std::optional<ATASmartObject> ATASmartController::processExportedSmart(DataView data, DataView thresholdsData,
                                                                       bool isSSD,
                                                                       const ATADeviceInfo& deviceInfo) const
{
    const auto sector = readRecord<ATASMARTData>(data);
    const auto thresholds = readRecord<ATASMARTDataThresholds>(thresholdsData);
    if (!sector || !thresholds)
        return std::nullopt;
    return ata::makeResult(*sector, *thresholds, deviceInfo, isSSD, Data(data.begin(), data.end()),
                           Data(thresholdsData.begin(), thresholdsData.end()));
}

} // namespace vantorel
