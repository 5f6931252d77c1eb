// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/history/History.h"
#include "documents/Documents.h"
#include "documents/JsonDocument.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/DriveChoice.h"
#include "host/choice/DurationChoice.h"
#include "host/choice/HistoryChoice.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/files/ReportFile.h"
#include "host/health/DriveReadings.h"
#include "host/views/HistoryView.h"
#include "host/views/VerdictView.h"
#include "vantorel/base/Text.h"
#include "vantorel/report/SystemReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <set>
#include <tuple>
#include <utility>

namespace vantorel::host {

namespace {

using Use = HistoryStore::Use;

struct HistoryArguments {
    std::string path;
    bool json = false;
    bool readings = false;
    bool withdraw = false;
    std::size_t most = 20;
    std::string drive;
    std::string rule;
    std::string olderThan = "5y";
    std::vector<std::string> reports;
};

/// One line of what `add` and `import` have done.
struct Line {
    std::string name;
    const health::JudgedReading* judged = nullptr;
    std::optional<Kept> kept;
    std::string reason; ///< why nothing was kept
};

constexpr const char* unnamed = "It tells no serial number, so its readings could not be told from another drive's.";

std::string lineJson(const Line& line)
{
    Json json = {{"name", line.name}, {"kept", line.kept.has_value()}};
    if (line.kept) {
        json["time"] = utcTime(line.kept->time);
        json["level"] = vantorel::rawValue(line.judged->verdict.level);
        if (line.kept->lastLevel)
            json["lastLevel"] = vantorel::rawValue(*line.kept->lastLevel);
        json["damageGrew"] = line.kept->grew;
    } else {
        json["reason"] = line.reason;
    }
    return jsonText(json);
}

void tellLines(const HistoryArguments& arguments, const std::string& path, int status, const std::vector<Line>& lines)
{
    for (const Line& line : lines) {
        if (line.kept && line.kept->clockBefore)
            complain(line.name,
                     "the clock has gone back: its newest reading is of " + utcTime(*line.kept->clockBefore));
    }
    if (arguments.json) {
        std::vector<std::string> elements;
        for (const Line& line : lines)
            elements.push_back(lineJson(line));
        JsonObject document(Json{{"format", documentFormat}, {"history", path}, {"status", status}});
        document.splice("drives", jsonArray(elements));
        return print(document.text() + '\n');
    }
    for (const Line& line : lines) {
        std::string text = line.reason;
        if (line.kept)
            text = levelText(line.judged->verdict.level) + (line.kept->grew ? ", damage grew" : "");
        print(fmt::format("{}: {}\n", printable(line.name), printable(text)));
    }
}

int add(const CLI::App& app, const HistoryArguments& arguments)
{
    loadMachine(app);
    std::vector<DriveOutcome> outcomes = readDrives({});
    complainOfFaults(outcomes);
    HistoryStore store = openHistory(arguments.path, Use::write);
    const std::string machine = SystemReport::getSystemUUID().value_or("");
    const Timestamp now = currentTime();
    std::vector<Line> lines;
    std::set<std::tuple<std::string, std::string, std::string>> seen; // namespaces of one controller are one
    auto change = store.transaction();
    for (DriveOutcome& outcome : outcomes) {
        if (!outcome.judged)
            continue;
        const DriveIdentity drive = DriveIdentity::of(*outcome.judged);
        if (drive.isUnique() && !seen.insert({drive.model, drive.serial, drive.wwn}).second)
            continue;
        judgeBeside(store, *outcome.judged, now);
        lines.push_back({outcome.name, &*outcome.judged, keep(store, *outcome.judged, machine, now), {}});
        if (!lines.back().kept)
            lines.back().reason = unnamed;
    }
    change.commit();
    const int status = statusOf(outcomes);
    tellLines(arguments, store.path(), status, lines);
    return status;
}

/// Puts the drives of a report into the history; what it does not tell keeps it out, and is told.
bool import(HistoryStore& store, const std::string& path, std::vector<std::pair<ReportFile, std::vector<Line>>>& done)
try {
    ReportFile report = openReport(path);
    const auto time = report.origin.created ? momentOf(*report.origin.created) : std::nullopt;
    if (!time)
        throw CommandError(path, "the report does not tell when it was made");
    if (!report.listingFault.empty())
        throw CommandError(path, report.listingFault + ", so nothing tells its drives apart");
    done.emplace_back(std::move(report), std::vector<Line>());
    auto& [kept, lines] = done.back();
    auto change = store.transaction();
    for (ReportedDrive& drive : kept.drives) {
        if (!drive.judged)
            continue;
        judgeBeside(store, *drive.judged, *time);
        Line line{path + ": " + drive.name, &*drive.judged, keepPast(store, *drive.judged, kept.machine, *time), {}};
        if (!line.kept)
            line.reason = DriveIdentity::of(*drive.judged).isUnique() ? "There is a reading of this time." : unnamed;
        lines.push_back(std::move(line));
    }
    change.commit();
    return true;
} catch (const CommandError& error) {
    tell("vantorel: " + std::string(error.what()));
    return false;
}

int importAll(const HistoryArguments& arguments)
{
    HistoryStore store = openHistory(arguments.path, Use::write);
    int status = success;
    std::vector<std::pair<ReportFile, std::vector<Line>>> done;
    for (const std::string& path : arguments.reports) {
        if (!import(store, path, done))
            status = readFailed;
    }
    std::vector<Line> lines;
    for (auto& [report, ofReport] : done)
        std::ranges::move(ofReport, std::back_inserter(lines));
    tellLines(arguments, store.path(), status, lines);
    return status;
}

/// The drive of a serial number or name worldwide that the history knows, else of a device name of the machine.
KeptDrive driveOf(const CLI::App& app, HistoryStore& store, const std::string& name)
{
    const auto drives = store.drives();
    const std::string_view wanted = base::trimmed(name);
    const auto known = std::ranges::find_if(drives, [&](const KeptDrive& drive) {
        return !wanted.empty() && (drive.identity.serial == wanted || drive.identity.wwn == wanted);
    });
    if (known != drives.end())
        return *known;
    loadMachine(app);
    const auto drive = driveNamed(name);
    if (!drive)
        throw CommandError(name, "there is no such drive");
    const DriveIdentity identity{std::string(base::trimmed(drive->model().value_or(""))),
                                 std::string(base::trimmed(drive->serial().value_or(""))), ""};
    auto kept = store.find(identity);
    if (!kept)
        throw CommandError(name, "no reading of it is kept");
    return *std::move(kept);
}

DriveHistory historyOf(HistoryStore& store, const KeptDrive& drive, KeptReading last, std::size_t most)
{
    constexpr Timestamp ever = std::numeric_limits<Timestamp>::min();
    return {drive.identity,  store.count(drive),          store.firstAfter(drive, ever).value_or(last).time,
            std::move(last), growths(store, drive, most), store.acknowledgements(drive)};
}

/// Prints all readings one by one: five years of them need not lie in memory at once.
void printReadings(HistoryStore& store, const KeptDrive& drive)
{
    print(",\"readings\":[");
    auto reading = store.firstAfter(drive, std::numeric_limits<Timestamp>::min());
    for (const char* comma = ""; reading; comma = ",") {
        print(comma + readingJson(*reading));
        reading = store.firstAfter(drive, reading->time);
    }
    print("]");
}

void show(const CLI::App& app, const HistoryArguments& arguments)
{
    HistoryStore store = openHistory(arguments.path, Use::read);
    std::vector<KeptDrive> drives = store.drives();
    if (!arguments.drive.empty())
        drives = {driveOf(app, store, arguments.drive)};
    if (arguments.json)
        print(fmt::format("{{\"format\":{},\"history\":{},\"drives\":[", documentFormat, jsonText(Json(store.path()))));
    const char* separator = "";
    for (const KeptDrive& drive : drives) {
        auto last = store.last(drive);
        if (!last)
            continue;
        const DriveHistory history = historyOf(store, drive, *std::move(last), arguments.most);
        print(separator);
        separator = arguments.json ? "," : "\n";
        if (!arguments.json) {
            print(historyText(history));
            continue;
        }
        std::string object = historyJson(history);
        if (arguments.readings) {
            object.pop_back();
            print(object);
            printReadings(store, drive);
            object = "}";
        }
        print(object);
    }
    print(arguments.json ? "]}\n" : drives.empty() ? "No drives.\n" : "");
}

void acknowledgeOrWithdraw(const CLI::App& app, const HistoryArguments& arguments)
{
    HistoryStore store = openHistory(arguments.path, Use::write);
    const KeptDrive drive = driveOf(app, store, arguments.drive);
    std::vector<KeptAcknowledgement> known;
    if (arguments.withdraw) {
        if (store.withdraw(drive, arguments.rule) == 0)
            throw CommandError(arguments.rule, "nothing of it was acknowledged");
    } else {
        known = acknowledge(store, drive, arguments.rule, currentTime());
    }
    if (arguments.json) {
        std::vector<std::string> elements;
        for (const KeptAcknowledgement& each : known)
            elements.push_back(acknowledgementJson(each));
        JsonObject document(Json{{"format", documentFormat}, {"history", store.path()}});
        document.splice("acknowledged", jsonArray(elements));
        return print(document.text() + '\n');
    }
    for (const KeptAcknowledgement& each : known)
        print(identityText(drive.identity) + ": " + acknowledgementText(each) + '\n');
}

void prune(const HistoryArguments& arguments)
{
    HistoryStore store = openHistory(arguments.path, Use::write);
    const auto age = std::chrono::milliseconds(*durationOf(arguments.olderThan)).count();
    const std::int64_t removed = store.prune(currentTime() - age);
    print(arguments.json ? jsonLine({{"format", documentFormat}, {"history", store.path()}, {"removed", removed}})
                         : fmt::format("{} reading{} removed\n", removed, removed == 1 ? "" : "s"));
}

} // namespace

void addHistory(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("history", "What drives showed over time");
    verb->require_subcommand(1);
    const auto arguments = std::make_shared<HistoryArguments>();
    const auto subverb = [&](const char* name, const char* help) {
        CLI::App* const each = verb->add_subcommand(name, help);
        addHistoryOption(*each, arguments->path);
        each->add_flag("--json", arguments->json, "Print as JSON");
        return each;
    };
    subverb("add", "Read every drive and keep what it showed")->callback([&app, arguments, &status] {
        status = add(app, *arguments);
    });

    CLI::App* const showing = subverb("show", "What grew, and when");
    showing->add_option("DISK", arguments->drive, "A drive by serial number or device name; all unless named");
    showing->add_option("--most", arguments->most, "The latest so many growths of a drive")->capture_default_str();
    showing->add_flag("--readings", arguments->readings, "With every reading and its raw bytes")
        ->needs(showing->get_option("--json"));
    showing->callback([&app, arguments] { show(app, *arguments); });

    CLI::App* const knowing = subverb("acknowledge", "Keep a known count quiet until it grows");
    knowing->add_option("DISK", arguments->drive, "The drive by serial number or device name")->required();
    knowing->add_option("RULE", arguments->rule, "The rule whose count is known, such as hdd.reallocated.high")
        ->required();
    knowing->add_flag("--withdraw", arguments->withdraw, "Have it told again");
    knowing->callback([&app, arguments] { acknowledgeOrWithdraw(app, *arguments); });

    CLI::App* const pruning = subverb("prune", "Remove old readings; those at which something grew stay");
    pruning->add_option("--older-than", arguments->olderThan, "How old a reading has to be, such as 90d")
        ->check(durationFrom(std::chrono::seconds(0)))
        ->capture_default_str();
    pruning->callback([arguments] { prune(*arguments); });

    CLI::App* const importing = subverb("import", "Keep the readings of reports");
    importing->add_option("REPORT", arguments->reports, "Reports, in any order")->type_name("FILE")->required();
    importing->callback([arguments, &status] { status = importAll(*arguments); });
}

} // namespace vantorel::host
