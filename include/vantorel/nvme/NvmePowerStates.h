// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/layouts/Nvme.h"
#include "vantorel/smart/records/NvmeSmartObject.h"

#include <string>
#include <vector>

/// What the Identify Controller data tells of a drive. Plain functions of their arguments and the host's translations;
/// any thread; nothing here fails.
namespace VANTOREL_PUBLIC vantorel {

/// The identity and the power states of a controller. A text is cut behind one byte less than its field holds and at
/// the first 0 byte, and trimmed of blanks and tabs; a text that is no UTF-8 is "Unknown" in the host's translation.
[[nodiscard]] NVMeDeviceInfo processControllerData(const NVMeControllerData& data);

/// The power states in the order of their 32 descriptors, those without active power and latencies left out. The
/// number of states that the controller claims plays no part, nor do the scale bits: powers are hundredths of a watt.
[[nodiscard]] std::vector<NVMePowerState> processPowerStates(const NVMeControllerData& data);

/// A power as text: "990.0mW" below 1 W, else "8.25W". Not rounded.
[[nodiscard]] std::string formatWatts(double watts);

} // namespace vantorel
