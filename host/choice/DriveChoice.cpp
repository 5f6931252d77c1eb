// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveChoice.h"

#include "vantorel/base/Text.h"
#include "vantorel/disks/Vantorel.h"

namespace vantorel::host {

std::shared_ptr<Drive> driveNamed(std::string_view name)
{
    constexpr std::string_view folder = "/dev/";
    const std::string_view bsdName = name.starts_with(folder) ? name.substr(folder.size()) : name;
    if (auto drive = Vantorel::shared().getDrive(bsdName))
        return drive;
    for (const auto& drive : Vantorel::shared().drives()) {
        const std::string_view serial = base::trimmed(drive->serial() ? std::string_view(*drive->serial()) : "");
        if (!serial.empty() && serial == base::trimmed(name))
            return drive;
    }
    return nullptr;
}

std::string driveName(const Drive& drive)
{
    return drive.bsdName().value_or("-");
}

} // namespace vantorel::host
