// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/smart/records/NvmeSmartObject.h"

#include <optional>

namespace vantorel {

/// Makes health results of NVMe drives. It keeps nothing between calls and may be used from any thread.
class NVMeSmartController {
public:
    /// The result of a SMART / Health Information log that was saved earlier. The first 512 bytes are read; absent when
    /// there are fewer. The log tells no identity: model and firmware are "Unknown", the serial is "Unkown", there are
    /// no power states, and the result keeps no raw bytes.
    [[nodiscard]] std::optional<NVMeSmartObject> processExportedSmart(DataView data) const;
};

} // namespace vantorel
