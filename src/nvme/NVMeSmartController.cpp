// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/nvme/NVMeSmartController.h"

#include "MakeResult.h"
#include "nvme/NvmeFormat.h"
#include "vantorel/base/Text.h"

#include <algorithm>

namespace vantorel {

namespace {

/// The critical warning, which is first, is told by the assessment instead.
std::vector<NVMeSmartValue> processSmartLog(const NVMeSMARTLog& log)
{
    std::vector<NVMeSmartValue> values;
    for (const std::string_view key : nvmeLogKeys().subspan(1))
        values.push_back(processSmartValue(key, log));
    return values;
}

/// The share of values that are `ok`, in whole percent. `smartValues` is not empty.
std::uint64_t gethealth(const std::vector<NVMeSmartValue>& smartValues)
{
    const auto good = std::ranges::count(smartValues, NVMeSmartAttributeState::ok, &NVMeSmartValue::state);
    return static_cast<std::uint64_t>(good) * 100 / smartValues.size();
}

} // namespace

NVMeSmartObject nvme::makeResult(const NVMeSMARTLog& log, NVMeDeviceInfo deviceInfo, Data rawData)
{
    NVMeSmartObject result;
    result.deviceInfo = std::move(deviceInfo);
    result.smartValues = processSmartLog(log);
    const auto temperature = std::ranges::find_if(result.smartValues, [](const NVMeSmartValue& value) {
        return base::containsIgnoringCase(value.name, "temperature");
    });
    if (temperature != result.smartValues.end())
        result.temperature = *temperature;
    result.health = gethealth(result.smartValues);
    NVMeSmartValue warning = processSmartValue("CriticalWarning", log);
    result.assessment = std::move(warning.formattedValue);
    result.status = warning.state;
    result.rawData = std::move(rawData);
    return result;
}

std::optional<NVMeSmartObject> NVMeSmartController::processExportedSmart(DataView data) const
{
    const auto log = readRecord<NVMeSMARTLog>(data);
    if (!log)
        return std::nullopt;
    return nvme::makeResult(*log, {.model = "Unknown", .serial = "Unkown", .firmware = "Unknown", .powerStates = {}},
                            {});
}

} // namespace vantorel
