// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/layouts/AtaSmart.h"
#include "vantorel/smart/records/AtaSmartObject.h"

namespace vantorel::ata {

/// The last steps of every ATA result, saved or live: the values of the two sectors, the temperature, the health
/// figure. The raw buffers go into the result as they are.
[[nodiscard]] ATASmartObject makeResult(const ATASMARTData& smartData, const ATASMARTDataThresholds& thresholds,
                                        ATADeviceInfo deviceInfo, bool isSSD, Data rawData, Data rawThresholds);

} // namespace vantorel::ata
