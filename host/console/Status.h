// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace vantorel::host {

/// What the command ends with: these bits, OR-ed over all drives that a run looked at.
enum Status : int {
    success = 0,
    usageError = 1,        ///< wrong use, a file that cannot be read, no machine, or no drives
    driveNotOpened = 2,    ///< a drive could not be opened
    readFailed = 4,        ///< a read failed or gave invalid data
    driveFailing = 8,      ///< a pre-failure attribute failed now, or an NVMe critical warning is set
    preFailReached = 16,   ///< a pre-failure attribute is at or below its threshold
    attributeReached = 32, ///< an attribute failed in the past, or an old-age attribute is at or below its threshold
    damageGrew = 64,       ///< between two reports a count of damage grew
};

} // namespace vantorel::host
