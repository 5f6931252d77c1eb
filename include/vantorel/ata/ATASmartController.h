// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"
#include "vantorel/smart/records/AtaSmartObject.h"
#include "vantorel/system/PlugIn.h"

#include <optional>

namespace VANTOREL_PUBLIC vantorel {

class Drive;

/// Makes health results of ATA drives. It keeps nothing between calls and may be used from any thread.
class ATASmartController {
public:
    /// The result of two sectors that were saved earlier: the data sector and the thresholds sector. Their first 512
    /// bytes are read, their checksums are not tested; both are kept whole in the result. Absent when either holds
    /// fewer than 512 bytes.
    [[nodiscard]] std::optional<ATASmartObject> processExportedSmart(DataView data, DataView thresholdsData, bool isSSD,
                                                                     const ATADeviceInfo& deviceInfo) const;

    /// Reads the drive through a plug-in for ATA SMART, whose handle it takes over. SMART and the saving of attributes
    /// are switched on in the drive and stay so. The identity is the drive object's. Throws `SmartError` with the text
    /// of the step that failed; nothing partial is given and nothing tried again. Blocks the calling thread.
    [[nodiscard]] ATASmartObject getSmartData(const Drive& drive, system::PlugInHandle pluginInterfaceHandle) const;
};

} // namespace vantorel
