// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/layouts/Nvme.h"
#include "vantorel/platform/NVMeSmartInterface.h"
#include "vantorel/smart/records/NvmeSmartObject.h"

#include <optional>
#include <vector>

/// The steps of a live reading.
namespace vantorel::nvme {

/// Identify Controller; absent when the controller does not answer.
[[nodiscard]] std::optional<NVMeControllerData> identify(const NVMeSmartInterface& smartInterface);

/// The identity that the data tell; "Unknown" in the host's translation, without power states, where there are none.
[[nodiscard]] NVMeDeviceInfo getDeviceInfo(const std::optional<NVMeControllerData>& controller);

/// The health log. Throws `SmartError`.
[[nodiscard]] NVMeSMARTLog getSmartLog(const NVMeSmartInterface& smartInterface);

/// The entries of the error log, unused ones included, as far as the controller gives them in one command; absent when
/// it gives none.
[[nodiscard]] std::optional<std::vector<NVMeErrorLogPage>> getErrorLog(const NVMeSmartInterface& smartInterface,
                                                                       const NVMeControllerData& controller);

} // namespace vantorel::nvme
