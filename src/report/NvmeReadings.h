// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/disks/Drive.h"

namespace vantorel::report {

/// What an NVMe controller tells beside its health log, as far as it can be read: "identify", its 4096 bytes of identity,
/// and "errorLog", log page 1. Blocks the calling thread.
[[nodiscard]] PropertyTable nvmeReadings(const Drive& drive);

} // namespace vantorel::report
