// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/layouts/Nvme.h"
#include "vantorel/platform/NVMeSmartInterface.h"

#include <optional>
#include <vector>

namespace vantorel::nvme {

/// The entries of the error log, unused ones included, as far as the controller gives them in one command; absent when
/// it gives none.
[[nodiscard]] std::optional<std::vector<NVMeErrorLogPage>> readErrorLog(const NVMeSmartInterface& smartInterface,
                                                                        const NVMeControllerData& controller);

} // namespace vantorel::nvme
