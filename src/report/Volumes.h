// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"

namespace vantorel::report {

/// What the system says now of the volumes on the disks of `Vantorel::shared`, a table each, in the order of mounting
/// and behind these those that are not mounted. Disks without a volume are left out.
[[nodiscard]] PropertyArray volumes();

} // namespace vantorel::report
