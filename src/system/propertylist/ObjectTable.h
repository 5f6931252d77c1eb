// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "system/propertylist/PropertyListLimits.h"
#include "vantorel/base/PropertyValue.h"

#include <cstdint>
#include <variant>
#include <vector>

namespace vantorel::system {

/// The objects of a property list as one flat table: containers name their contents by index. Sharing stays sharing
/// here, and a loop is only a number, so that no list however made costs more than its own bytes.
class ObjectTable {
public:
    using Index = std::uint32_t;

    /// A reference of a keyed archive; of use to nobody else.
    struct Uid {
        std::uint64_t value = 0;
        bool operator==(const Uid&) const = default;
    };

    /// A point in time: seconds since 2001-01-01 00:00 UTC.
    struct Date {
        double seconds = 0;
        bool operator==(const Date&) const = default;
    };

    using Array = std::vector<Index>;

    /// As many keys as values, which belong together by place.
    struct Dictionary {
        std::vector<Index> keys;
        std::vector<Index> values;
    };

    /// The `PropertyValue` holds a boolean, an integer, a real, a text or data.
    using Object = std::variant<PropertyValue, Uid, Date, Array, Dictionary>;

    std::vector<Object> objects;
    Index top = 0;

    /// Puts an object at the end and tells its index.
    Index add(Object object);

    /// The property list as one value, in the terms of `readPropertyList`: what is shared is copied, a date becomes its
    /// text, a UID the table {"CF$UID": n}. Throws `PropertyListError` beyond the limits, a loop being one way there.
    [[nodiscard]] PropertyValue expanded(const PropertyListLimits& limits) const;
};

} // namespace vantorel::system
