// SPDX-License-Identifier: GPL-2.0-or-later
#include "OutcomeView.h"

#include "ResultView.h"
#include "VerdictView.h"
#include "documents/Status.h"
#include "host/console/Text.h"

namespace vantorel::host {

namespace {

using Kind = DriveOutcome::Kind;

/// A kind in few words, for the place of a level.
const char* stateText(Kind kind)
{
    switch (kind) {
    case Kind::asleep:
        return "asleep";
    case Kind::noSmart:
        return "without SMART";
    case Kind::noDrive:
        return "no drive";
    case Kind::read:
    case Kind::notOpened:
    case Kind::failed:
        break;
    }
    return "not read";
}

std::optional<std::uint64_t> sizeOf(const DriveOutcome& outcome)
{
    const auto size = outcome.drive ? outcome.drive->size : std::nullopt;
    return size && *size > 0 ? std::optional(static_cast<std::uint64_t>(*size)) : std::nullopt;
}

} // namespace

CheckedDrive checkedDrive(const DriveOutcome& outcome)
{
    CheckedDrive drive{.name = outcome.name, .size = sizeOf(outcome), .isFault = outcome.status() != success};
    if (outcome.drive) {
        drive.model = outcome.drive->model.value_or("-");
        drive.serial = outcome.drive->serial.value_or("");
    }
    for (const MountedVolume& volume : outcome.volumes)
        drive.mountPoints.push_back(volume.mountPoint);
    if (outcome.judged) {
        drive.verdict = &outcome.judged->verdict;
        return drive;
    }
    drive.state = stateText(outcome.kind);
    if (outcome.kind != Kind::noSmart || outcome.isNamed || outcome.isExplained)
        drive.explanation = outcome.error;
    drive.remedy = outcome.remedy;
    return drive;
}

std::string checkText(const std::vector<DriveOutcome>& outcomes)
{
    std::vector<CheckedDrive> drives;
    drives.reserve(outcomes.size());
    for (const DriveOutcome& outcome : outcomes)
        drives.push_back(checkedDrive(outcome));
    return checkText(std::move(drives));
}

std::string outcomeText(const DriveOutcome& outcome)
{
    std::string text = emphasised(printable(outcome.name), Emphasis::strong);
    if (outcome.judged)
        return text + "  " + resultText(*outcome.judged);
    if (outcome.drive)
        text += "  " + printable(outcome.drive->model.value_or("Unnamed drive"));
    text += '\n' + emphasised(printable(outcome.error), outcome.status() == success ? Emphasis::none : Emphasis::bad) +
            '\n';
    return outcome.remedy.empty() ? text : text + "    " + printable(outcome.remedy) + '\n';
}

} // namespace vantorel::host
