// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/Drive.h"
#include "vantorel/system/IORegistry.h"

namespace vantorel {

/// The nearest entry above the drive's own that declares itself SMART capable, by the key of the drive's interface; no
/// handle when there is none. A declaration that is no boolean counts as none.
[[nodiscard]] system::IOHandle getSmartService(const Drive& drive);

} // namespace vantorel
