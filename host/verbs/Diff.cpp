// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/JsonDocument.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/files/ReportDiff.h"
#include "host/files/ReportFile.h"
#include "host/views/VerdictView.h"
#include "vantorel/health/VerdictJson.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::host {

namespace {

struct DiffArguments {
    std::string before;
    std::string after;
    bool json = false;
};

/// "at risk", or "good -> at risk" where that is new.
std::string levelsText(const DriveChange& drive)
{
    const std::string level = levelText(drive.verdict->level);
    const bool isNew = drive.levelBefore && *drive.levelBefore != drive.verdict->level;
    return isNew ? levelText(*drive.levelBefore) + " -> " + level : level;
}

std::string headline(const DriveChange& drive)
{
    std::string text = printable(drive.name) + "  " + printable(drive.model.empty() ? "Unnamed drive" : drive.model);
    if (!drive.serial.empty())
        text += ", serial " + printable(drive.serial);
    std::string sign = ": ";
    if (drive.verdict)
        text += std::exchange(sign, ", ") + levelsText(drive);
    if (drive.kind != DriveChange::Kind::stayed)
        text += sign + std::string(rawValue(drive.kind));
    else if (drive.values.empty())
        text += sign + "unchanged";
    text = emphasised(text, drive.status != success ? Emphasis::bad : Emphasis::strong) + '\n';
    if (drive.isReversed())
        text +=
            fmt::format("  It had been on for {} hours more when OLD was made: are the files the wrong way round?\n",
                        -*drive.verdict->comparison->hours);
    if (drive.verdict && (drive.isWorse() || drive.kind == DriveChange::Kind::appeared) &&
        drive.verdict->level != health::Level::good)
        text += reasonsText(*drive.verdict);
    return text;
}

std::string driveText(const DriveChange& drive)
{
    if (drive.values.empty())
        return headline(drive);
    Table table({{""}, {"ID", Table::Align::right}, {"Value"}, {"Change"}, {"Before"}, {"After"}});
    for (const ValueChange& value : drive.values)
        table.add({value.status != success ? "!" : "", value.id, printable(value.name),
                   std::string(rawValue(value.kind)), printable(value.before), printable(value.after)},
                  value.status != success ? Emphasis::bad : Emphasis::none);
    return headline(drive) + table.text(2);
}

Json valueJson(const ValueChange& value)
{
    Json json = {{"change", rawValue(value.kind)}, {"name", value.name}};
    if (!value.id.empty())
        json["id"] = std::stoi(value.id);
    if (value.kind != ValueChange::Kind::appeared)
        json["before"] = value.before;
    if (value.kind != ValueChange::Kind::vanished)
        json["after"] = value.after;
    json["status"] = value.status;
    return json;
}

std::string driveJson(const DriveChange& drive)
{
    Json json = {{"name", drive.name}, {"change", rawValue(drive.kind)}};
    if (!drive.model.empty())
        json["model"] = drive.model;
    if (!drive.serial.empty())
        json["serial"] = drive.serial;
    json["status"] = drive.status;
    json["values"] = Json::array();
    for (const ValueChange& value : drive.values)
        json["values"].push_back(valueJson(value));
    if (drive.levelBefore)
        json["levelBefore"] = vantorel::rawValue(*drive.levelBefore);
    JsonObject object(json);
    if (drive.verdict)
        object.splice("verdict", health::toJson(*drive.verdict));
    return object.text();
}

int diff(const DiffArguments& arguments)
{
    const ReportFile before = openReport(arguments.before);
    const ReportFile after = openReport(arguments.after);
    for (const ReportFile* const report : {&before, &after}) {
        if (!report->listingFault.empty())
            complain(report->path, report->listingFault + "; drives are told apart by model and name");
    }
    const std::vector<DriveChange> drives = compareReports(before, after);
    int status = success;
    for (const DriveChange& drive : drives)
        status |= drive.status;
    if (arguments.json) {
        std::vector<std::string> elements;
        elements.reserve(drives.size());
        for (const DriveChange& drive : drives)
            elements.push_back(driveJson(drive));
        JsonObject document(Json{
            {"format", documentFormat}, {"before", arguments.before}, {"after", arguments.after}, {"status", status}});
        for (const auto& [key, report] : {std::pair("beforeError", &before), std::pair("afterError", &after)}) {
            if (!report->listingFault.empty())
                document.put(key, Json(report->listingFault));
        }
        document.splice("drives", jsonArray(elements));
        print(document.text() + '\n');
    } else {
        for (const DriveChange& drive : drives)
            print(driveText(drive));
        if (drives.empty())
            print("No drives.\n");
    }
    return status;
}

} // namespace

void addDiff(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("diff", "What changed, and what got worse, between two reports");
    const auto arguments = std::make_shared<DiffArguments>();
    verb->add_option("OLD", arguments->before, "The earlier report")->type_name("FILE")->required();
    verb->add_option("NEW", arguments->after, "The later report")->type_name("FILE")->required();
    verb->add_flag("--json", arguments->json, "Print as JSON");
    verb->callback([arguments, &status] { status = diff(*arguments); });
}

} // namespace vantorel::host
