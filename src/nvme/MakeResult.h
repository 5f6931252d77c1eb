// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/layouts/Nvme.h"
#include "vantorel/smart/records/NvmeSmartObject.h"

namespace vantorel::nvme {

/// The last steps of every NVMe result, saved or live: the values of the log, the temperature, the health figure and
/// the assessment. There are no thresholds.
[[nodiscard]] NVMeSmartObject makeResult(const NVMeSMARTLog& log, NVMeDeviceInfo deviceInfo, Data rawData);

} // namespace vantorel::nvme
