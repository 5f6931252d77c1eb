// SPDX-License-Identifier: GPL-2.0-or-later
#include "HistoryView.h"

#include "Time.h"
#include "VerdictView.h"
#include "documents/Documents.h"
#include "documents/JsonDocument.h"
#include "host/console/Text.h"
#include "vantorel/base/Base64.h"
#include "vantorel/health/VerdictJson.h"

#include <fmt/format.h>

namespace vantorel::host {

namespace {

std::string growthText(const std::vector<Growth>& growths)
{
    const auto right = Table::Align::right;
    Table table({{"WHEN"}, {"GREW"}, {"BEFORE", right}, {"AFTER", right}, {"HOURS", right}});
    for (const Growth& growth : growths) {
        std::string when = localMoment(growth.time);
        for (const health::Change& change : growth.comparison.changes) {
            if (!change.damage)
                continue;
            const auto hours = growth.comparison.hours;
            table.add({when, printable(change.name), decimalText(change.before), decimalText(change.now),
                       hours ? std::to_string(*hours) : "-"});
            when.clear();
        }
    }
    return table.text(2);
}

Json identityJson(const DriveIdentity& drive)
{
    Json json = {{"model", drive.model}};
    if (!drive.serial.empty())
        json["serial"] = drive.serial;
    if (!drive.wwn.empty())
        json["wwn"] = drive.wwn;
    return json;
}

std::string growthJson(const Growth& growth)
{
    JsonObject object;
    object.put("since", Json(utcTime(growth.since)));
    object.put("time", Json(utcTime(growth.time)));
    if (!growth.machine.empty())
        object.put("machine", Json(growth.machine));
    object.splice("comparison", toJson(growth.comparison));
    return object.text();
}

} // namespace

std::string identityText(const DriveIdentity& drive)
{
    std::string text = drive.model.empty() ? "Unnamed drive" : drive.model;
    if (!drive.serial.empty())
        text += ", serial " + drive.serial;
    return printable(text);
}

std::string historyText(const DriveHistory& drive)
{
    const health::Level level = drive.last.verdict.level;
    std::string text = emphasised(identityText(drive.identity) + ": " + levelText(level), emphasisOf(level)) + '\n';
    text += fmt::format("  {} reading{} from {} to {}\n", drive.readings, drive.readings == 1 ? "" : "s",
                        localMoment(drive.first), localMoment(drive.last.time));
    text += drive.growths.empty() ? "  No damage grew.\n" : growthText(drive.growths);
    for (const KeptAcknowledgement& known : drive.known)
        text += "  Known: " + acknowledgementText(known) + '\n';
    return text;
}

std::string historyJson(const DriveHistory& drive)
{
    Json json = identityJson(drive.identity);
    json["count"] = drive.readings;
    json["first"] = utcTime(drive.first);
    json["last"] = utcTime(drive.last.time);
    json["level"] = rawValue(drive.last.verdict.level);
    JsonObject object(json);
    std::vector<std::string> growths;
    for (const Growth& growth : drive.growths)
        growths.push_back(growthJson(growth));
    object.splice("growths", jsonArray(growths));
    std::vector<std::string> known;
    for (const KeptAcknowledgement& each : drive.known)
        known.push_back(acknowledgementJson(each));
    object.splice("acknowledged", jsonArray(known));
    return object.text();
}

std::string readingJson(const KeptReading& reading)
{
    const SavedReading& saved = reading.saved;
    Json json = {{"time", utcTime(reading.time)}};
    if (!reading.machine.empty())
        json["machine"] = reading.machine;
    json["level"] = rawValue(reading.verdict.level);
    json["rules"] = reading.verdict.rules;
    json["firmware"] = saved.firmware;
    if (saved.saysFailing)
        json["failing"] = *saved.saysFailing;
    json["raw"] = {{"data", base::base64(saved.data)}};
    if (!saved.thresholds.empty())
        json["raw"]["thresholds"] = base::base64(saved.thresholds);
    if (!saved.identify.empty())
        json["raw"]["identify"] = base::base64(saved.identify);
    return jsonText(json);
}

std::string acknowledgementText(const KeptAcknowledgement& known)
{
    return printable(fmt::format("{}, {} at {}, since {}", known.count.rule, known.count.name,
                                 health::decimalText(known.count.number), localMoment(known.time)));
}

std::string acknowledgementJson(const KeptAcknowledgement& known)
{
    JsonObject object(Json{{"rule", known.count.rule}, {"name", known.count.name}});
    object.splice("number", health::decimalText(known.count.number));
    object.put("time", Json(utcTime(known.time)));
    return object.text();
}

} // namespace vantorel::host
