// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"
#include "vantorel/layouts/Nvme.h"
#include "vantorel/smart/records/NvmeSmartObject.h"

#include <span>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

/// The entries of an Error Information log (log page 1) that are in use, newest first. Any thread.
[[nodiscard]] std::vector<NVMeSmartError> processErrorLog(std::span<const NVMeErrorLogPage> entries);

/// The same of a log that was saved. What stands behind its last whole entry is not looked at.
[[nodiscard]] std::vector<NVMeSmartError> processErrorLog(DataView log);

} // namespace vantorel
