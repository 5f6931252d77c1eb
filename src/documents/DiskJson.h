// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "JsonDocument.h"
#include "vantorel/disks/Disk.h"

namespace vantorel {

/// One disk as docs/json.md tells: every field that is present, and of a volume what the system says of it now.
[[nodiscard]] Json diskJson(const Disk& disk);

} // namespace vantorel
