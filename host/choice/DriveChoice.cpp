// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveChoice.h"

#include "host/console/Output.h"
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

std::string driveName(const Drive& drive)
{
    return drive.bsdName().value_or("-");
}

} // namespace vantorel::host
