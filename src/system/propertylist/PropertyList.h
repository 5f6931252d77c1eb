// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "system/propertylist/PropertyListLimits.h"
#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"

#include <string>

namespace vantorel::system {

/// Reads an XML or a binary property list, told by its first bytes. Throws `PropertyListError` when it is damaged or
/// beyond the limits. A date becomes its text ("2001-01-01T00:00:00Z"), a UID of a keyed archive the table {"CF$UID":
/// n}, text that is not UTF-8 is mended with U+FFFD; of a key that stands twice the last value counts.
[[nodiscard]] PropertyValue readPropertyList(DataView bytes, const PropertyListLimits& limits = {});

/// The XML form of a value: a document that `readPropertyList` gives back as the same value, except that a UUID becomes
/// its text, null the empty text, and control characters that XML cannot hold U+FFFD.
[[nodiscard]] std::string writeXmlPropertyList(const PropertyValue& value);

} // namespace vantorel::system
