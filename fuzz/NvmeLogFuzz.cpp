// SPDX-License-Identifier: GPL-2.0-or-later
// A health log; what follows is Identify Controller data.
#include "vantorel/base/Bytes.h"
#include "vantorel/nvme/NvmePowerStates.h"
#include "vantorel/smart/SmartController.h"
#include "vantorel/smart/records/RecordJson.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace vantorel;
    const DataView input(bytes, size);
    auto result = SmartController::shared().nvmeSmartController().processExportedSmart(input);
    if (result.has_value() != (size >= sizeof(NVMeSMARTLog)))
        std::abort();
    if (!result)
        return 0;
    Data identify(input.begin() + sizeof(NVMeSMARTLog), input.end());
    identify.resize(sizeof(NVMeControllerData));
    result->deviceInfo = processControllerData(*readRecord<NVMeControllerData>(identify));
    if (fromJson<NVMeSmartObject>(toJson(*result)) != *result)
        std::abort();
    return 0;
}
