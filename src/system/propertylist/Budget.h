// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "system/propertylist/PropertyListLimits.h"

#include <cstddef>

namespace vantorel::system {

/// What a property list may still cost while it is read. Each call gives false when there is not that much left.
class Budget {
public:
    explicit Budget(const PropertyListLimits& limits) : left_(limits) {}

    [[nodiscard]] bool takeValue() { return take(left_.values, 1); }
    [[nodiscard]] bool takeBytes(std::size_t count) { return take(left_.bytes, count); }
    [[nodiscard]] bool enter() { return take(left_.depth, 1); }
    void leave() { ++left_.depth; }

private:
    static bool take(std::size_t& left, std::size_t count)
    {
        if (count > left)
            return false;
        left -= count;
        return true;
    }

    PropertyListLimits left_;
};

} // namespace vantorel::system
