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

PageDrive driveOf(const DriveOutcome& outcome)
{
    PageDrive drive;
    drive.head = checkedDrive(outcome);
    const std::shared_ptr<Drive> known = outcome.drive ? driveNamed(outcome.name) : nullptr;
    if (known)
        drive.identity = {{"Vendor", knownText(known->vendor())},
                          {"Serial", known->serial().value_or("")},
                          {"Firmware", known->revision().value_or("")},
                          {"Attached by", knownText(std::string(rawValue(known->interface())))},
                          {"Protocol", knownText(std::string(rawValue(known->deviceProtocol())))},
                          {"Kind", knownText(std::string(rawValue(known->driveKind())))}};
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
