// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/health/DriveReadings.h"
#include "host/metrics/MetricsFile.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vantorel::host {

namespace {

struct MetricsArguments {
    std::vector<std::string> names;
    std::string path = "-";
    std::optional<MetricsFormat> format;
};

/// How the drives are doing is what the metrics tell; the run itself fails only where they cannot be written.
int metrics(const CLI::App& app, const MetricsArguments& arguments)
{
    loadMachine(app);
    const std::vector<DriveOutcome> outcomes = readDrives(arguments.names);
    complainOfFaults(outcomes);
    const auto now = std::chrono::system_clock::now();
    std::vector<MeasuredDrive> drives;
    for (const DriveOutcome& outcome : outcomes)
        drives.push_back(MeasuredDrive::of(outcome, outcome.judged ? std::optional(now) : std::nullopt));
    writeMetrics(drives, arguments.path, arguments.format.value_or(metricsFormatOf(arguments.path)));
    return success;
}

} // namespace

void addMetrics(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("metrics", "The state of drives for Prometheus");
    const auto arguments = std::make_shared<MetricsArguments>();
    verb->add_option("DISK", arguments->names, "Drives by device name or serial number; all of them unless named");
    verb->add_option("-o,--output", arguments->path, "Write this file, whole or not at all")->type_name("FILE");
    verb->add_option_function<std::string>(
            "--format",
            [arguments](const std::string& name) {
                arguments->format = name == "text" ? MetricsFormat::classic : MetricsFormat::openMetrics;
            },
            "openmetrics, or text, which node_exporter reads; text for a FILE.prom unless told otherwise")
        ->type_name("NAME")
        ->check(CLI::IsMember({"openmetrics", "text"}));
    verb->callback([&app, arguments, &status] { status = metrics(app, *arguments); });
}

} // namespace vantorel::host
