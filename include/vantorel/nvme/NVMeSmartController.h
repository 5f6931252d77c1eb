// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"
#include "vantorel/smart/records/NvmeSmartObject.h"
#include "vantorel/system/PlugIn.h"

#include <optional>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

class Drive;

/// Makes health results of NVMe drives. It keeps nothing between calls and may be used from any thread.
class NVMeSmartController {
public:
    /// The result of a SMART / Health Information log that was saved earlier. The first 512 bytes are read; absent when
    /// there are fewer. The log tells no identity: model and firmware are "Unknown", the serial is "Unkown", there are
    /// no power states, and the result keeps no raw bytes.
    [[nodiscard]] std::optional<NVMeSmartObject> processExportedSmart(DataView data) const;

    /// Reads the drive through a plug-in for NVMe SMART, whose handle it takes over. The identity is what the
    /// controller says of itself; where it does not answer it is "Unknown" in the host's translation, without power
    /// states. Throws `SmartError` with the text of the step that failed. Blocks the calling thread.
    [[nodiscard]] NVMeSmartObject getSmartData(const Drive& drive, system::PlugInHandle pluginInterfaceHandle) const;

    /// The controller's error log through such a plug-in, whose handle it takes over: newest first, unused entries left
    /// out. Throws `SmartError`.
    [[nodiscard]] std::vector<NVMeSmartError> getErrorLog(system::PlugInHandle pluginInterfaceHandle) const;
};

} // namespace vantorel
