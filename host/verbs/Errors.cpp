// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/DiskJson.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/DriveChoice.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/views/NvmeStatus.h"
#include "vantorel/smart/DriveReading.h"
#include "vantorel/smart/SmartController.h"
#include "vantorel/smart/records/RecordJson.h"
#include "vantorel/system/Installation.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

namespace vantorel::host {

namespace {

struct ErrorsArguments {
    std::string disk;
    bool json = false;
};

std::string errorsText(const std::vector<NVMeSmartError>& errors)
{
    if (errors.empty())
        return "The error log is empty.\n";
    const auto right = Table::Align::right;
    Table table({{"Number", right}, {"Queue", right}, {"Command", right}, {"Status", right}, {"Meaning"}});
    for (const NVMeSmartError& error : errors)
        table.add({std::to_string(error.count), std::to_string(error.sqID), fmt::format("0x{:04x}", error.cmdID),
                   fmt::format("0x{:04x}", error.status), nvmeStatusText(error.status)});
    return table.text();
}

int errors(const CLI::App& app, const ErrorsArguments& arguments)
{
    const std::string path = loadMachine(app);
    const auto drive = drivesNamed({arguments.disk}).front();
    if (drive->interface() != Disk::DriveInterface::nvme)
        throw CommandError(driveName(*drive), "only NVMe drives have an error log that is shown here");

    Json document = {{"format", documentFormat}, {"machine", path}, {"name", driveName(*drive)}};
    std::string text;
    std::string failure;
    std::string remedy;
    int status = success;
    try {
        const std::vector<NVMeSmartError> found = SmartController::shared().getNvmeErrorLog(*drive);
        text = errorsText(found);
        document["errors"] = Json::array();
        for (const NVMeSmartError& error : found)
            document["errors"].push_back(Json::parse(toJson(error)));
    } catch (const SmartOpenError& error) {
        const auto obstacle = system::machine()->whyNotOpened(DriveSnapshot(*drive).service);
        failure = obstacle ? obstacle->reason : error.errorDescription();
        remedy = obstacle ? obstacle->remedy : "";
        status = driveNotOpened;
    } catch (const SmartError& error) {
        failure = error.errorDescription();
        status = readFailed;
    }
    if (!failure.empty()) {
        document["error"] = failure;
        if (!remedy.empty())
            document["remedy"] = remedy;
        complain(driveName(*drive), failure + (remedy.empty() ? "" : " Try: " + remedy));
    }
    print(arguments.json ? jsonLine(document) : text);
    return status;
}

} // namespace

void addErrors(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("errors", "The error log of an NVMe drive");
    const auto arguments = std::make_shared<ErrorsArguments>();
    verb->add_option("DISK", arguments->disk, "The drive by device name or serial number")->required();
    verb->add_flag("--json", arguments->json, "Print as JSON");
    verb->callback([&app, arguments, &status] { status = errors(app, *arguments); });
}

} // namespace vantorel::host
