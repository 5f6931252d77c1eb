// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/smart/DriveReading.h"
#include "vantorel/smart/DriveSnapshot.h"

namespace vantorel::report {

/// What was read of a drive beside what its result keeps: "identify", "failing" as an ATA drive judges itself, and
/// "errorLog", log page 1 of an NVMe controller, which is asked for here. Blocks the calling thread.
[[nodiscard]] PropertyTable furtherReadings(const DriveSnapshot& drive, const DriveReading& reading);

} // namespace vantorel::report
