// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/layouts/AtaSmart.h"
#include "vantorel/smart/records/AtaSmartObject.h"

#include <vector>

namespace vantorel {

/// Turns the two sectors of ATA SMART into named, formatted and judged values, one for each of the 30 slots in use, in
/// slot order. The drive table is asked for `deviceInfo`'s model and firmware; `isSSD` decides the names of attributes
/// that the default presets give to one kind of drive only.
///
/// A value is `failedNow` when its current value is at or below the threshold of the same slot, `failedInPast` when its
/// worst value is, `noThreshold` when that slot holds another attribute. Bit value 4 of the attribute's own flag word
/// says that its worst value means nothing: it is then not judged by it. Any thread; never fails.
[[nodiscard]] std::vector<ATASmartValue> processATASmartData(const ATASMARTData& smartData,
                                                             const ATASMARTDataThresholds& thresholds,
                                                             const ATADeviceInfo& deviceInfo, bool isSSD);

} // namespace vantorel
