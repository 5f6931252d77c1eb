// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/health/JudgedReading.h"

#include "vantorel/base/Bytes.h"
#include "vantorel/layouts/Nvme.h"
#include "vantorel/nvme/NvmePowerStates.h"
#include "vantorel/smart/SmartController.h"

#include <utility>

namespace vantorel::health {

JudgedReading::JudgedReading(DriveReading read, Data savedLog)
    : reading(std::move(read)), data(reading.result.rawData().empty() ? std::move(savedLog) : reading.result.rawData())
{
    if (const auto* const ata = reading.result.as<ATASmartObject>())
        known = knownDrive(ata->deviceInfo);
    verdict = judge(view());
}

Reading JudgedReading::view() const
{
    Reading view = readingOf(reading.result, reading.isSSD);
    view.data = data;
    view.identify = reading.identify;
    view.known = known ? &*known : nullptr;
    view.saysFailing = reading.saysFailing;
    return view;
}

std::optional<JudgedReading> judgeSavedAta(DataView data, DataView thresholds, const std::string& model, bool isSSD)
{
    auto result = SmartController::shared().processExtractedSmart(data, thresholds, false, isSSD, model);
    if (!result)
        return std::nullopt;
    return JudgedReading({*std::move(result), {}, {}, isSSD});
}

std::optional<JudgedReading> judgeSavedNvme(DataView log, DataView identify)
{
    auto result = SmartController::shared().nvmeSmartController().processExportedSmart(log);
    if (!result)
        return std::nullopt;
    if (const auto controller = readRecord<NVMeControllerData>(identify))
        result->deviceInfo = processControllerData(*controller);
    return JudgedReading({*std::move(result), Data(identify.begin(), identify.end()), {}, true},
                         Data(log.begin(), log.end()));
}

} // namespace vantorel::health
