// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/files/OutputFile.h"
#include "host/views/Quantity.h"
#include "host/views/Time.h"
#include "vantorel/report/SystemReport.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include <unistd.h>

namespace vantorel::host {

namespace {

struct ReportArguments {
    std::string output = "report.vantorel";
    bool force = false;
};

Data makeReport()
{
    ProgressLine progress;
    std::optional<Data> report;
    bool isDone = false;
    SystemReport::generate(
        [&](std::optional<Data> bytes) {
            report = std::move(bytes);
            isDone = true;
        },
        [&](const Drive& drive, std::size_t number, std::size_t count) {
            progress.show(
                fmt::format("Reading {}, drive {} of {}", printable(drive.bsdName().value_or("-")), number + 1, count));
        });
    progress.show("Listing the registry");
    pumpEvents(std::nullopt, [&] { return isDone; });
    if (!report)
        throw CommandError("report", "the registry could not be listed");
    return *std::move(report);
}

void report(const CLI::App& app, const ReportArguments& arguments)
{
    std::error_code ignored;
    const bool isFile = arguments.output != "-";
    if (!isFile && isatty(STDOUT_FILENO) == 1)
        throw CommandError("standard output", "is a terminal; name a file with -o");
    if (isFile && !arguments.force && std::filesystem::exists(arguments.output, ignored))
        throw CommandError(arguments.output, "exists already; --force replaces it");

    loadMachine(app);
    const Data bytes = makeReport();
    OutputFile file(arguments.output);
    file.write(bytes);
    file.commit();
    if (isFile)
        print(fmt::format("{}: {}\n", printable(arguments.output), sizeText(bytes.size())));
}

} // namespace

void addReport(CLI::App& app, int& /*status*/)
{
    CLI::App* const verb = app.add_subcommand("report", "Save the whole state of a machine's storage in one file");
    const auto arguments = std::make_shared<ReportArguments>();
    verb->add_option("-o,--output", arguments->output, "File to write; - for standard output")->capture_default_str();
    verb->add_flag("--force", arguments->force, "Replace the file if it exists");
    verb->callback([&app, arguments] { report(app, *arguments); });
}

} // namespace vantorel::host
