// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/console/Output.h"
#include "host/files/ReportFile.h"
#include "host/fleet/FleetView.h"
#include "host/fleet/InOrder.h"
#include "host/fleet/ReportSearch.h"

#include <fmt/format.h>

#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantorel::host {

namespace {

struct FleetArguments {
    std::vector<std::string> paths;
    bool json = false;
    bool lines = false;
};

/// What is kept of a report once it is closed again.
struct OpenedReport {
    bool isOpened = false;
    std::vector<FleetDrive> drives;
    std::string lines;
    std::vector<std::string> faults;
};

/// Runs on any thread. Whatever is wrong with a report costs it alone.
OpenedReport opened(const std::string& path, bool lines) noexcept
{
    OpenedReport result;
    try {
        const ReportFile report = openReport(path);
        result.isOpened = true;
        if (!report.listingFault.empty())
            result.faults.push_back(report.listingFault);
        for (const ReportedDrive& drive : report.drives) {
            if (lines)
                result.lines += fleetLine(report, drive);
            else
                result.drives.push_back(fleetDrive(report, drive));
            if (!drive.fault.empty())
                result.faults.push_back(drive.name + ": " + drive.fault);
        }
    } catch (const std::exception& error) {
        const std::string_view text = error.what(); // begins with the path where a file is told of
        result.faults.emplace_back(text.starts_with(path + ": ") ? text.substr(path.size() + 2) : text);
    }
    return result;
}

/// How the drives were doing is what is shown, and no failure of showing it.
int fleet(const FleetArguments& arguments)
{
    FleetSum sum;
    const auto note = [&sum](std::string_view path, std::string_view why) {
        complain(path, why);
        sum.faults.push_back({std::string(path), std::string(why)});
    };
    const std::vector<std::string> reports = reportsUnder(arguments.paths, note);
    {
        ProgressLine progress;
        inOrder<OpenedReport>(
            reports.size(), [&](std::size_t i) { return opened(reports[i], arguments.lines); },
            [&](std::size_t i, OpenedReport report) {
                sum.reports += report.isOpened ? 1 : 0;
                for (const std::string& fault : report.faults)
                    note(reports[i], fault);
                for (FleetDrive& drive : report.drives)
                    sum.fleet.add(std::move(drive));
                if (!report.lines.empty())
                    print(report.lines);
                if (progress.isSeen() && i % 64 == 0)
                    progress.show(fmt::format("Reading reports, {} of {} done", i, reports.size()));
            });
    }
    if (!arguments.lines)
        print(arguments.json ? fleetDocument(sum) : fleetText(sum));
    return (sum.reports == 0 ? usageError : success) | (sum.faults.empty() ? success : readFailed);
}

} // namespace

void addFleet(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("fleet", "Many reports at once: drives that are not good, and sums");
    const auto arguments = std::make_shared<FleetArguments>();
    verb->add_option("PATH", arguments->paths, "Reports, and folders with all reports (*.vantorel) under them")
        ->required();
    auto* const json = verb->add_flag("--json", arguments->json, "Print as JSON");
    verb->add_flag("--ndjson", arguments->lines, "Print a line of JSON for each drive of each report")->excludes(json);
    verb->callback([arguments, &status] { status = fleet(*arguments); });
}

} // namespace vantorel::host
