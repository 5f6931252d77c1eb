// SPDX-License-Identifier: GPL-2.0-or-later
#include "Origin.h"

#include "vantorel/ata/DriveDatabase.h"

#include <array>
#include <ctime>

#include <sys/utsname.h>

namespace vantorel::report {

namespace {

/// The present time in UTC, to the second: "2026-01-31T23:59:59Z".
std::string now()
{
    const std::time_t time = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

} // namespace

void tellOrigin(PropertyTable& root, std::string_view version)
{
    root.emplace("created", now());
    utsname system{};
    if (uname(&system) == 0)
        root.emplace(
            "host",
            PropertyTable{{"system", system.sysname}, {"kernel", system.release}, {"architecture", system.machine}});
    root.emplace("tool", PropertyTable{{"version", version}, {"table", builtin_knowndrives[0].modelfamily}});
}

} // namespace vantorel::report
