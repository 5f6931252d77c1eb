// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"

#include <cstddef>
#include <stdexcept>
#include <string>

namespace vantorel::system {

/// How much a property list may hold. A list that goes beyond is refused, however small its bytes are.
struct PropertyListLimits {
    std::size_t depth = 1024;        ///< arrays and tables inside one another
    std::size_t values = 4'000'000;  ///< values in all, each as often as it is reached
    std::size_t bytes = 256U << 20U; ///< bytes of the text and data values in all
};

/// A property list that cannot be read: `what()` is "PLACE: FAULT", such as "line 12: </dict> expected" or
/// "byte 0x1f4: object 12 is beyond the table".
class PropertyListError : public std::runtime_error {
public:
    PropertyListError(const std::string& place, const std::string& fault) : std::runtime_error(place + ": " + fault) {}
};

/// Reads an XML or a binary property list, told by its first bytes. Throws `PropertyListError` when it is damaged or
/// beyond the limits. A date becomes its text ("2001-01-01T00:00:00Z"), a UID of a keyed archive the table {"CF$UID":
/// n}, text that is not UTF-8 is mended with U+FFFD; of a key that stands twice the last value counts.
[[nodiscard]] PropertyValue readPropertyList(DataView bytes, const PropertyListLimits& limits = {});

/// The XML form of a value: a document that `readPropertyList` gives back as the same value, except that a UUID becomes
/// its text, null the empty text, and control characters that XML cannot hold U+FFFD.
[[nodiscard]] std::string writeXmlPropertyList(const PropertyValue& value);

} // namespace vantorel::system
