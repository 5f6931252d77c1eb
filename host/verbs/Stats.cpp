// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Documents.h"
#include "documents/JsonDocument.h"
#include "documents/Status.h"
#include "documents/WholeNumber.h"
#include "host/Verbs.h"
#include "host/choice/DriveChoice.h"
#include "host/choice/MachineChoice.h"
#include "host/choice/SecondsChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/views/Quantity.h"
#include "host/views/Time.h"
#include "vantorel/disks/Vantorel.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

namespace vantorel::host {

namespace {

using Counter = std::optional<double> DriveStatistics::*;

struct CounterName {
    Counter counter;
    const char* name;
};

constexpr CounterName counters[] = {
    {&DriveStatistics::readOperations, "readOperations"}, {&DriveStatistics::writeOperations, "writeOperations"},
    {&DriveStatistics::readLatency, "readLatency"},       {&DriveStatistics::writeLatency, "writeLatency"},
    {&DriveStatistics::readBytes, "readBytes"},           {&DriveStatistics::writeBytes, "writeBytes"},
    {&DriveStatistics::readTotalTime, "readTotalTime"},   {&DriveStatistics::writeTotalTime, "writeTotalTime"},
    {&DriveStatistics::readErrors, "readErrors"},         {&DriveStatistics::writeErrors, "writeErrors"},
    {&DriveStatistics::readRetries, "readRetries"},       {&DriveStatistics::writeRetries, "writeRetries"},
};

struct StatsArguments {
    std::vector<std::string> names;
    std::optional<double> interval;
    std::uint64_t count = std::numeric_limits<std::uint64_t>::max();
    bool json = false;
};

/// The counters of one drive at one moment.
struct Snapshot {
    std::shared_ptr<Drive> drive;
    std::optional<DriveStatistics> statistics;
    std::chrono::steady_clock::time_point taken;
};

std::vector<Snapshot> snapshots(const std::vector<std::string>& names)
{
    std::vector<Snapshot> taken;
    for (auto& drive : drivesNamed(names)) {
        auto statistics = drive->statistics();
        taken.push_back({std::move(drive), statistics, std::chrono::steady_clock::now()});
    }
    return taken;
}

/// How much a counter grew a second. Absent when it is missing in either snapshot or went back: the drive was attached
/// anew in between.
std::optional<double> rate(const Snapshot& before, const Snapshot& after, Counter counter)
{
    const double seconds = std::chrono::duration<double>(after.taken - before.taken).count();
    const auto first = before.statistics ? (*before.statistics).*counter : std::nullopt;
    const auto second = after.statistics ? (*after.statistics).*counter : std::nullopt;
    if (!first || !second || *second < *first || seconds <= 0)
        return std::nullopt;
    return (*second - *first) / seconds;
}

std::string bytesText(std::optional<double> bytes)
{
    return bytes ? sizeText(wholeNumber(*bytes)) : "-";
}

std::string numberText(std::optional<double> number, int digits)
{
    return number ? fmt::format("{:.{}f}", *number, digits) : "-";
}

/// The registry counts times in nanoseconds.
std::string secondsText(std::optional<double> nanoseconds)
{
    return nanoseconds ? fmt::format("{:.2f} s", *nanoseconds / 1e9) : "-";
}

std::string countersText(const std::vector<Snapshot>& taken)
{
    using enum Table::Align;
    Table table({{"DISK"},
                 {""},
                 {"OPERATIONS", right},
                 {"BYTES", right},
                 {"TOTAL TIME", right},
                 {"LATENCY", right},
                 {"ERRORS", right},
                 {"RETRIES", right},
                 {"MODEL"}});
    for (const Snapshot& snapshot : taken) {
        const DriveStatistics values = snapshot.statistics.value_or(DriveStatistics());
        table.add({printable(snapshot.drive->bsdName().value_or("-")), "read", numberText(values.readOperations, 0),
                   bytesText(values.readBytes), secondsText(values.readTotalTime), secondsText(values.readLatency),
                   numberText(values.readErrors, 0), numberText(values.readRetries, 0),
                   printable(snapshot.drive->model().value_or(""))});
        table.add({"", "write", numberText(values.writeOperations, 0), bytesText(values.writeBytes),
                   secondsText(values.writeTotalTime), secondsText(values.writeLatency),
                   numberText(values.writeErrors, 0), numberText(values.writeRetries, 0), ""});
    }
    return taken.empty() ? "No drives.\n" : table.text();
}

/// The snapshot of the same drive in an earlier round; none when it was not there.
const Snapshot* earlier(const std::vector<Snapshot>& round, const Snapshot& snapshot)
{
    for (const Snapshot& candidate : round) {
        if (candidate.drive == snapshot.drive)
            return &candidate;
    }
    return nullptr;
}

std::string ratesText(const std::vector<Snapshot>& before, const std::vector<Snapshot>& after)
{
    using enum Table::Align;
    Table table({{localTime()}, {"READS/S", right}, {"WRITES/S", right}, {"READ/S", right}, {"WRITTEN/S", right}});
    for (const Snapshot& snapshot : after) {
        const Snapshot* const first = earlier(before, snapshot);
        const auto perSecond = [&](Counter counter) { return first ? rate(*first, snapshot, counter) : std::nullopt; };
        table.add({printable(snapshot.drive->bsdName().value_or("-")),
                   numberText(perSecond(&DriveStatistics::readOperations), 1),
                   numberText(perSecond(&DriveStatistics::writeOperations), 1),
                   bytesText(perSecond(&DriveStatistics::readBytes)),
                   bytesText(perSecond(&DriveStatistics::writeBytes))});
    }
    return table.text();
}

Json roundJson(const std::vector<Snapshot>& before, const std::vector<Snapshot>& after)
{
    Json document = {{"format", documentFormat}, {"time", utcTime()}, {"drives", Json::array()}};
    for (const Snapshot& snapshot : after) {
        Json drive = Json::object();
        if (snapshot.drive->bsdName())
            drive["bsdName"] = *snapshot.drive->bsdName();
        if (snapshot.drive->model())
            drive["model"] = *snapshot.drive->model();
        const Snapshot* const first = earlier(before, snapshot);
        for (const auto& [counter, name] : counters) {
            if (const auto value = snapshot.statistics ? (*snapshot.statistics).*counter : std::nullopt)
                drive["statistics"][name] = wholeNumber(*value);
            if (const auto perSecond = first ? rate(*first, snapshot, counter) : std::nullopt)
                drive["perSecond"][name] = *perSecond;
        }
        document["drives"].push_back(std::move(drive));
    }
    return document;
}

int stats(const CLI::App& app, const StatsArguments& arguments)
{
    loadMachine(app, LaterEvents::happen);
    std::vector<Snapshot> last = snapshots(arguments.names);
    print(arguments.json ? jsonLine(roundJson({}, last)) : countersText(last));
    for (std::uint64_t round = 0; arguments.interval && round < arguments.count; ++round) {
        flush();
        pumpEvents(arguments.interval, [] { return false; });
        std::vector<Snapshot> now = snapshots(arguments.names);
        print(arguments.json ? jsonLine(roundJson(last, now)) : '\n' + ratesText(last, now));
        last = std::move(now);
    }
    return last.empty() ? usageError : success;
}

} // namespace

void addStats(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("stats", "The I/O counters of drives, and how fast they grow");
    const auto arguments = std::make_shared<StatsArguments>();
    verb->add_option("DISK", arguments->names, "Drives by device name or serial number; all of them unless named");
    auto* const interval =
        verb->add_option("--interval", arguments->interval, "Go on with rates, every so many seconds")
            ->type_name("SECONDS")
            ->check(secondsFrom(0.01));
    verb->add_option("--count", arguments->count, "End after so many rates")
        ->type_name("COUNT")
        ->check(CLI::PositiveNumber)
        ->needs(interval);
    verb->add_flag("--json", arguments->json, "Print as JSON, one document a line");
    verb->callback([&app, arguments, &status] { status = stats(app, *arguments); });
}

} // namespace vantorel::host
