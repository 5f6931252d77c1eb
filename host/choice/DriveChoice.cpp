// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveChoice.h"

#include "host/console/Output.h"
#include "vantorel/disks/Vantorel.h"

namespace vantorel::host {

std::vector<std::shared_ptr<Drive>> drivesNamed(const std::vector<std::string>& names)
{
    if (names.empty())
        return Vantorel::shared().drives();
    std::vector<std::shared_ptr<Drive>> drives;
    for (const std::string& name : names) {
        drives.push_back(driveNamed(name));
        if (!drives.back())
            throw CommandError(name, "there is no such drive");
    }
    return drives;
}

} // namespace vantorel::host
