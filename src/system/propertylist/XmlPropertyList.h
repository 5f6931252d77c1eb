// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "system/propertylist/PropertyListLimits.h"
#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"

namespace vantorel::system {

/// The XML half of `readPropertyList`.
[[nodiscard]] PropertyValue readXmlForm(DataView bytes, const PropertyListLimits& limits);

} // namespace vantorel::system
