// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/smart/SmartController.h"

namespace vantorel {

SmartController& SmartController::shared()
{
    static SmartController controller;
    return controller;
}

std::optional<SmartObject> SmartController::processExtractedSmart(DataView data, std::optional<DataView> thresholdsData,
                                                                  bool nvme, bool isSSD, const std::string& model) const
{
    if (nvme)
        return nvmeSmartController_.processExportedSmart(data);
    if (!thresholdsData)
        return std::nullopt;
    return ataSmartController_.processExportedSmart(data, *thresholdsData, isSSD,
                                                    {.model = model, .serial = {}, .firmware = {}});
}

} // namespace vantorel
