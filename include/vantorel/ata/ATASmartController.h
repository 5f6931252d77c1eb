// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/smart/records/AtaSmartObject.h"

#include <optional>

namespace vantorel {

/// Makes health results of ATA drives. It keeps nothing between calls and may be used from any thread.
class ATASmartController {
public:
    /// The result of two sectors that were saved earlier: the data sector and the thresholds sector. Their first 512
    /// bytes are read, their checksums are not tested; both are kept whole in the result. Absent when either holds
    /// fewer than 512 bytes.
    [[nodiscard]] std::optional<ATASmartObject> processExportedSmart(DataView data, DataView thresholdsData, bool isSSD,
                                                                     const ATADeviceInfo& deviceInfo) const;
};

} // namespace vantorel
