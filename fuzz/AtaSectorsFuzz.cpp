// SPDX-License-Identifier: GPL-2.0-or-later
// The two sectors of ATA SMART, one behind the other; what follows is the model.
#include "vantorel/smart/SmartController.h"
#include "vantorel/smart/records/RecordJson.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace vantorel;
    const DataView input(bytes, size);
    const DataView data = input.first(std::min<std::size_t>(size, 512));
    const DataView thresholds = input.subspan(data.size(), std::min<std::size_t>(size - data.size(), 512));
    const DataView rest = input.subspan(data.size() + thresholds.size());
    const std::string model(rest.begin(), rest.end());

    const auto result = SmartController::shared().processExtractedSmart(data, thresholds, false, size % 2 == 1, model);
    if (result.has_value() != (size >= 1024))
        std::abort();
    if (!result)
        return 0;
    // Everything but a model that is no UTF-8 comes back from its JSON form.
    ATASmartObject expected = *result->as<ATASmartObject>();
    ATASmartObject decoded = fromJson<ATASmartObject>(toJson(*result));
    expected.deviceInfo = decoded.deviceInfo = {};
    if (!(decoded == expected) || expected.health > 100)
        std::abort();
    return 0;
}
