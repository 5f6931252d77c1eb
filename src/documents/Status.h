// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/health/Verdict.h"

namespace vantorel {

/// The bits of `status` in the documents, which the command ends with: OR-ed over all drives that a run looked at.
/// Nothing ends with 0 but a run in which every drive that has SMART data was read and is good, and one that hands on
/// what drives told, whatever it is: `show`, `metrics`.
enum Status : int {
    success = 0,
    usageError = 1,     ///< wrong use, a file that cannot be read, no machine, or no drives
    driveNotOpened = 2, ///< a drive could not be opened
    readFailed = 4,     ///< a read failed, or gave what nothing can be said of
    driveFailing = 8,
    driveAtRisk = 16,
    driveToWatch = 32,
    damageGrew = 64, ///< between two readings of a drive a count of damage grew
};

/// The bits that a level calls for.
[[nodiscard]] constexpr int statusOf(health::Level level)
{
    switch (level) {
    case health::Level::good:
        return success;
    case health::Level::watch:
        return driveToWatch;
    case health::Level::atRisk:
        return driveAtRisk;
    case health::Level::failing:
        return driveFailing;
    case health::Level::unknown:
        break;
    }
    return readFailed;
}

} // namespace vantorel
