// SPDX-License-Identifier: GPL-2.0-or-later
#include "JudgedReading.h"

#include "host/console/Status.h"

#include <utility>

namespace vantorel::host {

JudgedReading::JudgedReading(DriveReading read, bool isSolidState, Data savedLog)
    : reading(std::move(read)),
      isSSD(isSolidState),
      data(reading.result.rawData().empty() ? std::move(savedLog) : reading.result.rawData())
{
    if (const auto* const ata = reading.result.as<ATASmartObject>())
        known = knownDrive(ata->deviceInfo);
    verdict = health::judge(view());
}

health::Reading JudgedReading::view() const
{
    health::Reading view = health::readingOf(reading.result, isSSD);
    view.data = data;
    view.identify = reading.identify;
    view.known = known ? &*known : nullptr;
    view.saysFailing = reading.saysFailing;
    return view;
}

int JudgedReading::status() const
{
    return statusOf(verdict.level);
}

int statusOf(health::Level level)
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

} // namespace vantorel::host
