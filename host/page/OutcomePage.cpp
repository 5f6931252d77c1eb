// SPDX-License-Identifier: GPL-2.0-or-later
#include "OutcomePage.h"

#include "documents/Documents.h"
#include "host/choice/MachineChoice.h"
#include "host/views/OutcomeView.h"
#include "vantorel/smart/SmartController.h"

#include <fmt/format.h>

#include <memory>

#include <sys/utsname.h>

namespace vantorel::host {

namespace {

std::string nameOf(const std::string& machine)
{
    utsname system{};
    const bool isHere = machine == thisComputerName;
    if (isHere && uname(&system) == 0 && *system.nodename != '\0')
        return system.nodename;
    return isHere ? machine : fileNameOf(machine);
}

/// Nothing for what the drive does not tell.
template <typename E>
std::string knownText(E value)
{
    return value == E::unknown ? "" : std::string(rawValue(value));
}

PageDrive driveOf(const DriveOutcome& outcome)
{
    PageDrive drive;
    drive.head = checkedDrive(outcome);
    const std::shared_ptr<Drive> known = outcome.drive ? driveNamed(outcome.name) : nullptr;
    if (known)
        drive.identity = {
            {"Vendor", known->vendor().value_or("")},         {"Serial", known->serial().value_or("")},
            {"Firmware", known->revision().value_or("")},     {"Attached by", knownText(known->interface())},
            {"Protocol", knownText(known->deviceProtocol())}, {"Kind", knownText(known->driveKind())}};
    if (!outcome.judged)
        return drive;
    addReading(drive, std::make_shared<const health::JudgedReading>(*outcome.judged));
    if (known && outcome.judged->isNvme()) {
        try {
            drive.errors = SmartController::shared().getNvmeErrorLog(*known);
        } catch (const SmartError& error) {
            drive.remarks.push_back("Its error log was not read: " + error.errorDescription());
        }
    }
    return drive;
}

} // namespace

Page outcomePage(const std::string& path, const std::vector<DriveOutcome>& outcomes)
{
    Page page;
    page.machine = nameOf(path);
    page.facts = {{"Looked at", path}, {"Page made", timeForReader(utcTime())}};
    for (const DriveOutcome& outcome : outcomes)
        page.drives.push_back(driveOf(outcome));
    addRegistry(page);
    return page;
}

} // namespace vantorel::host
