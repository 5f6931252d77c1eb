// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"
#include "vantorel/smart/records/SmartObject.h"

#include <optional>

namespace VANTOREL_PUBLIC vantorel {

/// What was read of a drive: its health result, and what the drive told besides, of which a result keeps nothing.
struct DriveReading {
    SmartObject result;
    Data identify;                   ///< IDENTIFY DEVICE or Identify Controller data; empty where it did not answer
    std::optional<bool> saysFailing; ///< ATA: its answer to SMART RETURN STATUS; absent where it gave none
    bool isSSD = false;              ///< decides how values of an ATA drive are named and judged
};

} // namespace vantorel
