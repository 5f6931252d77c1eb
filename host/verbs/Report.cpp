// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/files/OutputFile.h"
#include "host/files/ReportRedaction.h"
#include "host/health/DriveReadings.h"
#include "host/views/Quantity.h"
#include "host/views/Time.h"
#include "vantorel/report/SystemReport.h"
#include "vantorel/smart/SmartController.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <unistd.h>

namespace vantorel::host {

namespace {

struct ReportArguments {
    std::string output = "report.vantorel";
    bool force = false;
    bool redact = false;
};

/// Reads the drives side by side, as `smart` does, and gives each reading to the report when it comes to that drive.
class Readings {
public:
    Readings() : outcomes_(readDrives({})) {}

    [[nodiscard]] DriveReading of(const Drive& drive) const
    {
        const DriveSnapshot wanted(drive);
        const auto outcome = std::ranges::find_if(outcomes_, [&](const DriveOutcome& each) {
            return each.drive->name == wanted.name && each.drive->service == wanted.service;
        });
        if (outcome == outcomes_.end())
            return SmartController::shared().getSmartData(wanted); // it came meanwhile
        if (outcome->judged)
            return outcome->judged->reading;
        if (outcome->kind == DriveOutcome::Kind::failed)
            throw SmartError(outcome->error);
        throw SmartOpenError(outcome->error);
    }

    [[nodiscard]] const std::vector<DriveOutcome>& outcomes() const { return outcomes_; }

private:
    std::vector<DriveOutcome> outcomes_;
};

/// The report, and in `fault` why its listing of the registry is missing. Throws when there is none at all.
Data makeReport(const Readings& readings, std::string& fault)
{
    ProgressLine progress;
    std::optional<Data> report;
    bool isDone = false;
    SystemReportOptions options;
    options.read = [&](const Drive& drive) { return readings.of(drive); };
    options.onFault = [&](const std::string& why) { fault = why; };
    SystemReport::generate(
        [&](std::optional<Data> bytes) {
            report = std::move(bytes);
            isDone = true;
        },
        std::move(options));
    progress.show("Listing the registry");
    pumpEvents(std::nullopt, [&] { return isDone; });
    if (!report)
        throw CommandError("report", fault.empty() ? "it could not be put together" : fault);
    return *std::move(report);
}

int report(const CLI::App& app, const ReportArguments& arguments)
{
    std::error_code ignored;
    const bool isFile = arguments.output != "-";
    if (!isFile && isatty(STDOUT_FILENO) == 1)
        throw CommandError("standard output", "is a terminal; name a file with -o");
    if (isFile && !arguments.force && std::filesystem::exists(arguments.output, ignored))
        throw CommandError(arguments.output, "exists already; --force replaces it");

    loadMachine(app);
    const Readings readings;
    std::string fault;
    Data bytes = makeReport(readings, fault);
    if (arguments.redact)
        bytes = redactedReport(bytes);
    OutputFile file(arguments.output);
    file.write(bytes);
    file.commit();
    if (isFile)
        print(fmt::format("{}: {}\n", printable(arguments.output), sizeText(bytes.size())));
    complainOfFaults(readings.outcomes());
    int status = statusOf(readings.outcomes());
    if (!fault.empty()) {
        complain("report", fault);
        status |= readFailed;
    }
    return status;
}

} // namespace

void addReport(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("report", "Save the whole state of a machine's storage in one file");
    const auto arguments = std::make_shared<ReportArguments>();
    verb->add_option("-o,--output", arguments->output, "File to write; - for standard output")
        ->type_name("FILE")
        ->capture_default_str();
    verb->add_flag("--force", arguments->force, "Replace the file if it exists");
    verb->add_flag("--redact", arguments->redact,
                   "Put pseudonyms in the place of serial numbers, UUIDs, names of hardware, hosts and users");
    verb->callback([&app, arguments, &status] { status = report(app, *arguments); });
}

} // namespace vantorel::host
