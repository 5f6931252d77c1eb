// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/PropertyList.h"

namespace vantorel::system {

/// The XML half of `readPropertyList`.
[[nodiscard]] PropertyValue readXmlForm(DataView bytes, const PropertyListLimits& limits);

} // namespace vantorel::system
