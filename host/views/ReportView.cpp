// SPDX-License-Identifier: GPL-2.0-or-later
#include "ReportView.h"

#include "Quantity.h"
#include "VerdictView.h"
#include "documents/HealthJson.h"
#include "documents/Status.h"
#include "host/console/Text.h"
#include "host/files/StoredValues.h"
#include "vantorel/base/Base64.h"
#include "vantorel/base/Text.h"
#include "vantorel/health/JudgedReading.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

namespace vantorel::host {

namespace {

Json propertyJson(const PropertyValue& value)
{
    switch (value.type()) {
    case PropertyValue::Type::null:
        return nullptr;
    case PropertyValue::Type::boolean:
        return *value.get<bool>();
    case PropertyValue::Type::integer:
        if (const auto number = value.get<std::int64_t>())
            return *number;
        return *value.get<std::uint64_t>();
    case PropertyValue::Type::real:
        return *value.get<double>();
    case PropertyValue::Type::text:
        return *value.text();
    case PropertyValue::Type::data:
        return base::base64(*value.data());
    case PropertyValue::Type::uuid:
        return value.get<base::Uuid>()->text();
    case PropertyValue::Type::array: {
        Json array = Json::array();
        for (const PropertyValue& element : *value.array())
            array.push_back(propertyJson(element));
        return array;
    }
    case PropertyValue::Type::table: {
        Json object = Json::object();
        for (const auto& [key, element] : *value.table())
            object[key] = propertyJson(element);
        return object;
    }
    }
    return nullptr;
}

/// A value of a value's table as it is shown: texts and numbers; "-" for anything else.
std::string shown(const std::optional<PropertyTable>& table, std::string_view key)
{
    const PropertyValue* const value = table ? table->lookUp(key) : nullptr;
    if (value && value->text())
        return printable(*value->text());
    if (const auto number = value ? value->get<std::int64_t>() : std::nullopt)
        return std::to_string(*number);
    return "-";
}

/// What is known today, with what was stored behind it where that was something else.
std::string shownBoth(const ValuePair& pair, std::string_view key)
{
    std::string text = shown(pair.either(), key);
    const std::string stored = shown(pair.stored, key);
    if (pair.stored && pair.decoded && text != stored)
        text += " (stored " + stored + ')';
    return text;
}

/// Whether a value speaks against the drive: by the verdict where there is one, else by the state it was stored with.
bool isBad(const ValuePair& pair, const std::optional<health::JudgedReading>& judged)
{
    const auto id = pair.either().get<std::int64_t>("id");
    if (pair.decoded && judged && id)
        return levelOf(judged->verdict, static_cast<std::uint8_t>(*id)) != health::Level::good;
    const std::string state = pair.either().get<std::string>("state").value_or("");
    const auto ata = fromRawValue<ATASmartAttributeState>(state);
    const auto nvme = fromRawValue<NVMeSmartAttributeState>(state);
    return (ata && hasFailed(*ata)) || (nvme && hasFailed(*nvme));
}

std::string valuesText(const std::vector<ValuePair>& pairs, const std::optional<health::JudgedReading>& judged)
{
    const auto right = Table::Align::right;
    Table table({{""}, {"ID", right}, {"Value"}, {"Stored"}, {"Decoded"}, {"Current/worst/threshold"}, {"State"}});
    for (const ValuePair& pair : pairs) {
        const PropertyTable& value = pair.either();
        const bool isNumbered = value.contains("id");
        const bool isDifferent = pair.isDifferent();
        const bool speaksAgainst = isBad(pair, judged);
        table.add(
            {std::string(isDifferent ? "*" : "") + (speaksAgainst ? "!" : ""), isNumbered ? shown(value, "id") : "",
             shownBoth(pair, "name"), shown(pair.stored, "formattedValue"), shown(pair.decoded, "formattedValue"),
             isNumbered
                 ? fmt::format("{}/{}/{}", shown(value, "current"), shown(value, "worst"), shown(value, "theshold"))
                 : "",
             shownBoth(pair, "state")},
            speaksAgainst ? Emphasis::bad
            : isDifferent ? Emphasis::warning
                          : Emphasis::none);
    }
    return table.text(2);
}

std::string fact(std::string_view name, std::string_view value)
{
    return value.empty() ? std::string() : fmt::format("  {:<13}{}\n", name, printable(base::trimmed(value)));
}

/// What was read of the drive beside its SMART data.
std::string besides(const ReportDrive& drive)
{
    std::vector<std::string> parts;
    if (drive.failing)
        parts.emplace_back(*drive.failing ? "it says that it is failing" : "it says that it is well");
    if (drive.identify)
        parts.push_back(fmt::format("identify data, {} bytes", drive.identify->size()));
    if (drive.errorLog)
        parts.push_back(fmt::format("error log, {} bytes", drive.errorLog->size()));
    return fmt::format("{}", fmt::join(parts, "; "));
}

std::string driveText(const ReportedDrive& drive)
{
    std::string text =
        emphasised(printable(drive.name) + "  " + printable(drive.stored.model.value_or("Unnamed drive")),
                   Emphasis::strong) +
        '\n' + (drive.judged ? verdictText(drive.judged->verdict, 2, 15) : "") +
        fact("Vendor", drive.stored.vendor.value_or("")) + fact("Serial", drive.identity.serial) +
        fact("Firmware", drive.identity.firmware) +
        fact("Attached by", fmt::format("{}, {}", drive.stored.interface.value_or("unknown"),
                                        drive.stored.protocol.value_or("unknown"))) +
        fact("Kind", drive.stored.kind.value_or("unknown")) + fact("Also read", besides(drive.stored));
    if (drive.judged)
        text +=
            fact("Age", ageText(drive.judged->verdict)) + fact("Temperature", temperatureText(drive.judged->verdict));
    if (!drive.fault.empty())
        text += "  " + emphasised(drive.fault, Emphasis::bad) + '\n';
    const std::vector<ValuePair> pairs = valuePairs(drive);
    if (pairs.empty())
        return text + "  " +
               emphasised(printable(absenceText(drive)), statusOf(drive) == success ? Emphasis::none : Emphasis::bad) +
               '\n';
    const auto different = std::ranges::count_if(pairs, &ValuePair::isDifferent);
    text += fact("Values", fmt::format("{}, decoded otherwise than they were stored: {}", pairs.size(), different));
    return text + valuesText(pairs, drive.judged);
}

std::string volumeText(const ReportVolume& volume)
{
    std::string text = volume.disk.value_or("-");
    for (const auto& [part, before] : {std::pair(volume.name, "  "), std::pair(volume.kind, ", ")}) {
        if (part && !part->empty())
            text += before + *part;
    }
    for (const std::string& path : volume.mountPoints)
        text += (&path == volume.mountPoints.data() ? ", at " : " and ") + path;
    if (volume.size)
        text += fmt::format(", {}, {} free", sizeText(*volume.size), sizeText(volume.free.value_or(0)));
    return volume.writable == false ? text + ", read-only" : text;
}

Json differencesJson(const std::vector<ValuePair>& pairs)
{
    Json differences = Json::array();
    for (const ValuePair& pair : pairs) {
        Json difference = Json::object();
        for (const char* const key : {"id", "name"}) {
            if (const PropertyValue* const value = pair.either().lookUp(key))
                difference[key] = propertyJson(*value);
        }
        if (!pair.stored || !pair.decoded) {
            difference["only"] = pair.stored ? "stored" : "decoded";
            differences.push_back(difference);
            continue;
        }
        for (const std::string& key : pair.differences()) {
            const PropertyValue* const stored = pair.stored->lookUp(key);
            const PropertyValue* const decoded = pair.decoded->lookUp(key);
            difference["field"] = key;
            difference["stored"] = stored ? propertyJson(*stored) : Json();
            difference["decoded"] = decoded ? propertyJson(*decoded) : Json();
            differences.push_back(difference);
        }
    }
    return differences;
}

void put(Json& json, const char* key, const std::optional<std::string>& text)
{
    json[key] = text ? Json(*text) : Json();
}

std::string driveJson(const ReportedDrive& drive, bool raw)
{
    const ReportDrive& stored = drive.stored;
    Json json = {{"name", drive.name}};
    put(json, "vendor", stored.vendor);
    put(json, "model", stored.model);
    put(json, "bsdName", stored.bsdName);
    put(json, "interface", stored.interface);
    put(json, "kind", stored.kind);
    put(json, "protocol", stored.protocol);
    json["serial"] = drive.identity.serial;
    json["firmware"] = drive.identity.firmware;
    json["status"] = statusOf(drive);
    json["smart"] = rawValue(drive.smart);
    if (stored.failure)
        json["failure"] = {
            {"opened", stored.failure->opened}, {"asleep", stored.failure->asleep}, {"error", stored.failure->error}};
    if (stored.failing)
        json["failing"] = *stored.failing;
    if (stored.identify)
        json["identify"] = base::base64(*stored.identify);
    if (stored.errorLog)
        json["errorLog"] = base::base64(*stored.errorLog);
    if (stored.processedSmart)
        json["stored"] = propertyJson(*stored.processedSmart);
    if (drive.judged)
        json["differences"] = differencesJson(valuePairs(drive));
    if (!drive.fault.empty())
        json["error"] = drive.fault;
    JsonObject object(json);
    if (drive.judged)
        putHealth(object, *drive.judged, raw);
    return object.text();
}

} // namespace

std::string absenceText(const ReportedDrive& drive)
{
    switch (drive.smart) {
    case ReportedDrive::Smart::unread:
        if (!drive.stored.failure)
            return "Its SMART data were not read.";
        return drive.stored.failure->asleep ? drive.stored.failure->error
                                            : "Its SMART data could not be read: " + drive.stored.failure->error;
    case ReportedDrive::Smart::none:
        return "It has no SMART data.";
    case ReportedDrive::Smart::stored:
    case ReportedDrive::Smart::unknown:
        break;
    }
    return "No SMART data are stored.";
}

Json volumeJson(const ReportVolume& volume)
{
    Json json = Json::object();
    const auto putPresent = [&json](const char* key, const auto& value) {
        if (value)
            json[key] = *value;
    };
    putPresent("disk", volume.disk);
    putPresent("kind", volume.kind);
    putPresent("name", volume.name);
    putPresent("uuid", volume.uuid);
    putPresent("mountable", volume.mountable);
    json["mountPoints"] = volume.mountPoints;
    putPresent("size", volume.size);
    putPresent("free", volume.free);
    putPresent("writable", volume.writable);
    return json;
}

std::string reportText(const ReportFile& report)
{
    const ReportOrigin& origin = report.origin;
    std::string text = emphasised(printable(report.path), Emphasis::strong) + '\n' +
                       fact("Made by", "vantorel " + report.version.value_or("of an unknown version")) +
                       fact("Drive table", origin.table.value_or("")) + fact("Made at", origin.created.value_or(""));
    if (origin.system)
        text += fact("Made on", fmt::format("{} {}, {}", *origin.system, origin.kernel.value_or("-"),
                                            origin.architecture.value_or("-")));
    if (report.listingFault.empty())
        text += fact("Registry", fmt::format("{} entries, {}", report.entries, sizeText(report.listing.size())));
    text += fact("Drives", std::to_string(report.drives.size()));
    for (const ReportVolume& volume : report.volumes)
        text += fact("Volume", volumeText(volume));
    for (const std::string& key : report.unknownKeys)
        text += fact("Unknown key", key);
    for (const ReportedDrive& drive : report.drives)
        text += '\n' + driveText(drive);
    return text;
}

std::string reportJson(const ReportFile& report, bool raw)
{
    const ReportOrigin& origin = report.origin;
    Json json = {{"format", documentFormat}, {"report", report.path}};
    put(json, "version", report.version);
    json["registryEntries"] = report.entries;
    json["unknownKeys"] = report.unknownKeys;
    put(json, "created", origin.created);
    put(json["host"], "system", origin.system);
    put(json["host"], "kernel", origin.kernel);
    put(json["host"], "architecture", origin.architecture);
    put(json["tool"], "version", origin.tool);
    put(json["tool"], "table", origin.table);
    json["volumes"] = Json::array();
    for (const ReportVolume& volume : report.volumes)
        json["volumes"].push_back(volumeJson(volume));
    if (!report.listingFault.empty())
        json["error"] = report.listingFault;
    std::vector<std::string> drives;
    for (const ReportedDrive& drive : report.drives)
        drives.push_back(driveJson(drive, raw));
    JsonObject document(json);
    document.splice("drives", jsonArray(drives));
    return document.text() + '\n';
}

int statusOf(const ReportedDrive& drive)
{
    if (!drive.fault.empty())
        return readFailed;
    if (drive.stored.failure)
        return drive.stored.failure->asleep ? success : drive.stored.failure->opened ? readFailed : driveNotOpened;
    return drive.judged ? vantorel::statusOf(drive.judged->verdict.level) : success;
}

} // namespace vantorel::host
