// SPDX-License-Identifier: GPL-2.0-or-later
#include "ReportView.h"

#include "Quantity.h"
#include "host/console/Status.h"
#include "host/console/Text.h"
#include "host/health/JudgedReading.h"
#include "vantorel/base/Base64.h"
#include "vantorel/base/Text.h"
#include "vantorel/smart/records/RecordJson.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace vantorel::host {

namespace {

template <typename Result>
std::vector<ValuePair> decodedValues(const Result& result)
{
    std::vector<ValuePair> pairs;
    for (const auto& value : result.smartValues)
        pairs.push_back({{}, dictionary(value).value_or(PropertyTable())});
    return pairs;
}

/// Whether both tell of the same value: by number, or by name where there are no numbers.
bool areSameValue(const PropertyTable& one, const PropertyTable& other)
{
    const char* const key = one.contains("id") ? "id" : "name";
    const PropertyValue* const name = one.lookUp(key);
    const PropertyValue* const otherName = other.lookUp(key);
    return name && otherName && *name == *otherName;
}

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

bool isFailing(const ValuePair& pair)
{
    const std::string state = pair.either().get<std::string>("state").value_or("");
    const auto ata = fromRawValue<ATASmartAttributeState>(state);
    const auto nvme = fromRawValue<NVMeSmartAttributeState>(state);
    return (ata && hasFailed(*ata)) || (nvme && hasFailed(*nvme));
}

std::string valuesText(const std::vector<ValuePair>& pairs)
{
    const auto right = Table::Align::right;
    Table table({{""}, {"ID", right}, {"Value"}, {"Stored"}, {"Decoded"}, {"Current/worst/threshold"}, {"State"}});
    for (const ValuePair& pair : pairs) {
        const PropertyTable& value = pair.either();
        const bool isNumbered = value.contains("id");
        const bool isDifferent = !pair.stored || !pair.decoded || !pair.differences().empty();
        const bool isBad = isFailing(pair);
        table.add({std::string(isDifferent ? "*" : "") + (isBad ? "!" : ""), isNumbered ? shown(value, "id") : "",
                   shownBoth(pair, "name"), shown(pair.stored, "formattedValue"), shown(pair.decoded, "formattedValue"),
                   isNumbered ? fmt::format("{}/{}/{}", shown(value, "current"), shown(value, "worst"),
                                            shown(value, "theshold"))
                              : "",
                   shownBoth(pair, "state")},
                  isBad         ? Emphasis::bad
                  : isDifferent ? Emphasis::warning
                                : Emphasis::none);
    }
    return table.text(2);
}

std::string fact(std::string_view name, std::string_view value)
{
    return value.empty() ? std::string() : fmt::format("  {:<13}{}\n", name, printable(base::trimmed(value)));
}

std::string judgement(const SmartObject& result)
{
    return result.visit([](const auto& object) {
        return fact("Health", fmt::format("{} %, {}", object.health, rawValue(object.status))) +
               fact("Assessment", object.assessment) +
               fact("Temperature", object.temperature ? object.temperature->formattedValue : "");
    });
}

std::string driveText(const ReportedDrive& drive)
{
    std::string text =
        emphasised(printable(drive.name) + "  " + printable(drive.stored.model.value_or("Unnamed drive")),
                   Emphasis::strong) +
        '\n' + fact("Vendor", drive.stored.vendor.value_or("")) + fact("Serial", drive.identity.serial) +
        fact("Firmware", drive.identity.firmware) +
        fact("Attached by", fmt::format("{}, {}", drive.stored.interface.value_or("unknown"),
                                        drive.stored.protocol.value_or("unknown"))) +
        fact("Kind", drive.stored.kind.value_or("unknown"));
    if (drive.decoded)
        text += judgement(*drive.decoded);
    if (!drive.fault.empty())
        text += "  " + emphasised(drive.fault, Emphasis::bad) + '\n';
    const std::vector<ValuePair> pairs = valuePairs(drive);
    if (pairs.empty())
        return text + "  No SMART data were read.\n";
    const auto different = std::ranges::count_if(
        pairs, [](const ValuePair& pair) { return !pair.stored || !pair.decoded || !pair.differences().empty(); });
    text += fact("Values", fmt::format("{}, decoded otherwise than they were stored: {}", pairs.size(), different));
    return text + valuesText(pairs);
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

Json driveJson(const ReportedDrive& drive)
{
    Json json = {{"name", drive.name}};
    put(json, "vendor", drive.stored.vendor);
    put(json, "model", drive.stored.model);
    put(json, "bsdName", drive.stored.bsdName);
    put(json, "interface", drive.stored.interface);
    put(json, "kind", drive.stored.kind);
    put(json, "protocol", drive.stored.protocol);
    json["serial"] = drive.identity.serial;
    json["firmware"] = drive.identity.firmware;
    json["status"] = statusOf(drive);
    if (drive.stored.processedSmart)
        json["stored"] = propertyJson(*drive.stored.processedSmart);
    if (drive.decoded) {
        json["decoded"] = Json::parse(toJson(*drive.decoded));
        json["differences"] = differencesJson(valuePairs(drive));
    }
    if (!drive.fault.empty())
        json["error"] = drive.fault;
    return json;
}

} // namespace

std::vector<std::string> ValuePair::differences() const
{
    std::vector<std::string> keys;
    if (!stored || !decoded)
        return keys;
    for (const auto& [key, value] : *decoded) {
        const PropertyValue* const before = stored->lookUp(key);
        if (!before || *before != value)
            keys.push_back(key);
    }
    for (const auto& [key, value] : *stored) {
        if (!decoded->contains(key))
            keys.push_back(key);
    }
    return keys;
}

std::vector<ValuePair> valuePairs(const ReportedDrive& drive)
{
    std::vector<ValuePair> pairs;
    if (drive.decoded)
        pairs = drive.decoded->visit([](const auto& result) { return decodedValues(result); });
    const PropertyTable* const processed = drive.stored.processedSmart ? &*drive.stored.processedSmart : nullptr;
    const PropertyValue* const values = processed ? processed->lookUp("values") : nullptr;
    const PropertyArray none;
    const std::size_t decodedCount = pairs.size();
    for (const PropertyValue& value : values && values->array() ? *values->array() : none) {
        if (!value.table())
            continue;
        const auto end = pairs.begin() + static_cast<std::ptrdiff_t>(decodedCount);
        const auto same = std::find_if(pairs.begin(), end, [&](const ValuePair& pair) {
            return !pair.stored && areSameValue(*pair.decoded, *value.table());
        });
        if (same != end)
            same->stored = *value.table();
        else
            pairs.push_back({*value.table(), {}});
    }
    return pairs;
}

std::string reportText(const ReportFile& report)
{
    std::string text = emphasised(printable(report.path), Emphasis::strong) + '\n' +
                       fact("Made by", "vantorel " + report.version.value_or("of an unknown version"));
    if (report.listingFault.empty())
        text += fact("Registry", fmt::format("{} entries, {}", report.entries, sizeText(report.listing.size())));
    text += fact("Drives", std::to_string(report.drives.size()));
    for (const std::string& key : report.unknownKeys)
        text += fact("Unknown key", key);
    for (const ReportedDrive& drive : report.drives)
        text += '\n' + driveText(drive);
    return text;
}

Json reportJson(const ReportFile& report)
{
    Json json = {{"report", report.path}};
    put(json, "version", report.version);
    json["registryEntries"] = report.entries;
    json["unknownKeys"] = report.unknownKeys;
    json["drives"] = Json::array();
    for (const ReportedDrive& drive : report.drives)
        json["drives"].push_back(driveJson(drive));
    if (!report.listingFault.empty())
        json["error"] = report.listingFault;
    return json;
}

int statusOf(const ReportedDrive& drive)
{
    if (!drive.fault.empty())
        return readFailed;
    return drive.decoded ? JudgedReading({*drive.decoded, {}, {}}, drive.stored.kind == "ssd").status() : success;
}

} // namespace vantorel::host
