// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveReadings.h"

#include "documents/Status.h"
#include "host/console/Output.h"

#include <fmt/format.h>

namespace vantorel::host {

std::vector<DriveOutcome> readDrives(const std::vector<std::string>& names)
{
    std::vector<DriveOutcome> outcomes = unreadDrives(names);
    ProgressLine progress;
    vantorel::readDrives(outcomes, [&](std::size_t done, std::size_t all) {
        progress.show(fmt::format("Reading drives, {} of {} done", done, all));
    });
    return outcomes;
}

void complainOfFaults(const std::vector<DriveOutcome>& outcomes)
{
    for (const DriveOutcome& outcome : outcomes) {
        if (!outcome.judged && outcome.status() != success)
            complain(outcome.name, outcome.error + (outcome.remedy.empty() ? "" : " Try: " + outcome.remedy));
    }
}

} // namespace vantorel::host
