// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/health/Reading.h"

#include <optional>

namespace VANTOREL_PUBLIC vantorel {
namespace health {

/// From which temperatures on, in Celsius, a drive is too warm.
struct TemperatureLimits {
    struct Limit {
        int celsius = 0;
        bool isUsual = false; ///< the drive tells none: what is usual for its kind
    };

    std::optional<Limit> warning;
    std::optional<Limit> critical;
};

/// The limits that a reading is judged by: its own, an NVMe controller's (WCTEMP, CCTEMP), else the usual ones.
[[nodiscard]] TemperatureLimits temperatureLimits(const Reading& reading);

} // namespace health
} // namespace vantorel
