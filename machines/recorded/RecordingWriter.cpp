// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/RecordingWriter.h"

#include "RegistryIndex.h"
#include "vantorel/base/Base64.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vantorel::recorded {

namespace {

using Json = nlohmann::ordered_json;
using system::RegistryEntry;

Json bytesJson(const Data& bytes)
{
    return {{"base64", base::base64(bytes)}};
}

Json valueJson(const PropertyValue& value);

Json tableJson(const PropertyTable& table)
{
    Json json = Json::object();
    for (const auto& [key, value] : table)
        json[key] = valueJson(value);
    return json;
}

Json valueJson(const PropertyValue& value)
{
    switch (value.type()) {
    case PropertyValue::Type::null:
        break;
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
        return bytesJson(*value.data());
    case PropertyValue::Type::uuid:
        return value.get<base::Uuid>()->text();
    case PropertyValue::Type::array: {
        Json json = Json::array();
        for (const PropertyValue& element : *value.array())
            json.push_back(valueJson(element));
        return json;
    }
    case PropertyValue::Type::table:
        return tableJson(*value.table());
    }
    return nullptr;
}

Json entriesJson(const std::vector<RegistryEntry>& entries)
{
    Json list = Json::array();
    for (const RegistryEntry& entry : entries) {
        Json json = {{"id", entry.id}, {"name", entry.name}, {"class", entry.className}};
        if (!entry.location.empty())
            json["location"] = entry.location;
        if (!entry.inheritance.empty())
            json["inheritance"] = entry.inheritance;
        if (!entry.parents.empty())
            json["parents"] = entry.parents;
        if (!entry.properties.empty())
            json["properties"] = tableJson(entry.properties);
        list.push_back(std::move(json));
    }
    return list;
}

Json volumeJson(const RecordedVolume& volume)
{
    Json json = {{"disk", volume.disk}};
    if (volume.facts.kind)
        json["kind"] = *volume.facts.kind;
    if (volume.facts.name)
        json["name"] = *volume.facts.name;
    if (volume.facts.uuid)
        json["uuid"] = volume.facts.uuid->text();
    if (volume.facts.mountable)
        json["mountable"] = *volume.facts.mountable;
    if (!volume.facts.mountPoints.empty())
        json["mountPoints"] = volume.facts.mountPoints;
    json["size"] = volume.size;
    json["free"] = volume.free;
    json["writable"] = volume.writable;
    return json;
}

Json answersJson(const RecordedDrive& drive)
{
    Json json = Json::object();
    for (const auto& [key, bytes] : {std::pair("identify", &drive.identify), std::pair("data", &drive.data),
                                     std::pair("thresholds", &drive.thresholds)}) {
        if (*bytes)
            json[key] = bytesJson(**bytes);
    }
    for (const auto& [address, bytes] : drive.logs)
        json["logs"][std::to_string(address)] = bytesJson(bytes);
    if (drive.exceeded)
        json["exceeded"] = true;
    for (const auto& [command, status] : drive.failures) {
        const std::string_view name = system::nameOfIOReturn(status);
        json["failures"][command] = name.empty() ? system::nameOfIOReturn(system::kIOReturnError) : name;
    }
    return json;
}

/// The drives by their disks, or where there is none by their own entries.
Json drivesJson(const Recording& recording)
{
    const auto disks = disksOfDrives(recording);
    Json list = Json::array();
    for (const auto& [entry, drive] : recording.drives) {
        const auto disk = disks.find(entry);
        list.push_back({{"disk", disk != disks.end() ? Json(disk->second) : Json(entry)},
                        {drive.kind == RecordedDrive::Kind::ata ? "ata" : "nvme", answersJson(drive)}});
    }
    return list;
}

Json eventJson(const RecordedStep& step)
{
    Json json = {{"at", step.seconds}};
    if (const auto* const arrival = std::get_if<RecordedStep::Arrival>(&step.what)) {
        json["arrive"] = entriesJson(arrival->entries);
    } else if (const auto* const change = std::get_if<RecordedStep::Change>(&step.what)) {
        json["change"] = change->entry;
        json["properties"] = tableJson(change->changes);
    } else if (const auto* const removal = std::get_if<RecordedStep::Removal>(&step.what)) {
        json["remove"] = removal->entry;
    } else {
        json["volume"] = volumeJson(std::get<RecordedVolume>(step.what));
    }
    return json;
}

} // namespace

std::string writeMachineJson(const Recording& recording)
{
    Json machine = {{"entries", entriesJson(recording.entries)}, {"volumes", Json::array()}};
    for (const RecordedVolume& volume : recording.volumes)
        machine["volumes"].push_back(volumeJson(volume));
    machine["drives"] = drivesJson(recording);
    for (const RecordedStep& step : recording.script)
        machine["events"].push_back(eventJson(step));
    return machine.dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace vantorel::recorded
