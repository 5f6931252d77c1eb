// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/DiskJson.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/DriveChoice.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
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

/// The status codes that drives in the field report, with their type in the upper byte (NVM Express Base Specification,
/// "Status Code").
struct StatusName {
    unsigned code;
    std::string_view name;
};
constexpr StatusName statusNames[] = {
    {0x000, "successful completion"},    {0x001, "invalid command opcode"},
    {0x002, "invalid field in command"}, {0x004, "data transfer error"},
    {0x005, "aborted by power loss"},    {0x006, "internal error"},
    {0x007, "abort requested"},          {0x00B, "invalid namespace or format"},
    {0x00C, "command sequence error"},   {0x080, "address out of range"},
    {0x109, "invalid log page"},         {0x10A, "invalid format"},
    {0x10E, "feature not changeable"},   {0x280, "write fault"},
    {0x281, "unrecovered read error"},   {0x282, "end-to-end guard check error"},
    {0x285, "compare failure"},          {0x286, "access denied"},
};

/// A status field in words; it has the phase bit lowest, then 8 bits of code and 3 of its type.
std::string statusText(std::uint16_t field)
{
    const unsigned code = (field >> 1U) & 0x7FFU;
    for (const auto& [known, name] : statusNames) {
        if (known == code)
            return std::string(name);
    }
    return fmt::format("type {}, code 0x{:02x}", code >> 8U, code & 0xFFU);
}

std::string errorsText(const std::vector<NVMeSmartError>& errors)
{
    if (errors.empty())
        return "The error log is empty.\n";
    const auto right = Table::Align::right;
    Table table({{"Number", right}, {"Queue", right}, {"Command", right}, {"Status", right}, {"Meaning"}});
    for (const NVMeSmartError& error : errors)
        table.add({std::to_string(error.count), std::to_string(error.sqID), fmt::format("0x{:04x}", error.cmdID),
                   fmt::format("0x{:04x}", error.status), statusText(error.status)});
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
        if (obstacle && !obstacle->remedy.empty())
            failure += " Try: " + obstacle->remedy;
        status = driveNotOpened;
    } catch (const SmartError& error) {
        failure = error.errorDescription();
        status = readFailed;
    }
    if (!failure.empty()) {
        document["error"] = failure;
        complain(driveName(*drive), failure);
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
