// SPDX-License-Identifier: GPL-2.0-or-later
#include "Documents.h"

#include "DiskJson.h"
#include "HealthJson.h"
#include "JsonDocument.h"
#include "Status.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace vantorel {

namespace {

Json nodeJson(const DiskNode& node)
{
    Json json = diskJson(*node.disk);
    if (node.raidSet && node.raidSet->bsdName())
        json["raidSet"] = *node.raidSet->bsdName();
    json["children"] = Json::array();
    for (const DiskNode& child : node.children)
        json["children"].push_back(nodeJson(child));
    return json;
}

std::string driveJson(const DriveOutcome& outcome, bool raw)
{
    JsonObject object;
    object.put("name", Json(outcome.name));
    if (outcome.drive) {
        const DriveSnapshot& drive = *outcome.drive;
        object.put("interface", Json(rawValue(drive.interface)));
        object.put("kind", Json(rawValue(drive.kind)));
        object.put("model", drive.model);
        object.put("serial", drive.serial);
        object.put("firmware", drive.firmware);
        object.put("size", drive.size > 0 ? drive.size : std::nullopt);
    }
    object.put("status", Json(outcome.status()));
    object.put("state", Json(rawValue(outcome.kind)));
    if (outcome.comparedTo)
        object.put("comparedTo", Json(utcTime(*outcome.comparedTo)));
    if (!outcome.volumes.empty()) {
        Json volumes = Json::array();
        for (const MountedVolume& volume : outcome.volumes) {
            volumes.push_back({{"bsdName", volume.bsdName}});
            if (volume.name)
                volumes.back()["volumeName"] = *volume.name;
            volumes.back()["mountPoint"] = volume.mountPoint;
        }
        object.put("volumes", volumes);
    }
    if (outcome.judged) {
        putHealth(object, *outcome.judged, raw);
    } else {
        object.put("error", Json(outcome.error));
        if (!outcome.remedy.empty())
            object.put("remedy", Json(outcome.remedy));
    }
    return object.text();
}

} // namespace

std::string listDocument(const std::string& machine, const std::vector<DiskNode>& roots)
{
    Json document = {{"format", documentFormat}, {"machine", machine}, {"disks", Json::array()}};
    for (const DiskNode& root : roots)
        document["disks"].push_back(nodeJson(root));
    return jsonLine(document);
}

std::string healthDocument(const std::string& machine, const std::vector<DriveOutcome>& outcomes, bool raw)
{
    std::vector<std::string> drives;
    drives.reserve(outcomes.size());
    for (const DriveOutcome& outcome : outcomes)
        drives.push_back(driveJson(outcome, raw));
    JsonObject document(Json{{"format", documentFormat}, {"machine", machine}, {"status", statusOf(outcomes)}});
    document.splice("drives", jsonArray(drives));
    return document.text() + '\n';
}

std::string decodeDocument(const health::JudgedReading& judged, bool raw)
{
    JsonObject document(Json{{"format", documentFormat}, {"status", statusOf(judged.verdict.level)}});
    putHealth(document, judged, raw);
    return document.text() + '\n';
}

std::string eventDocument(const Disk& disk, DiskEvent event)
{
    return jsonLine(
        {{"format", documentFormat}, {"time", utcTime()}, {"event", rawValue(event)}, {"disk", diskJson(disk)}});
}

std::string utcTime()
{
    using namespace std::chrono;
    return utcTime(floor<milliseconds>(system_clock::now()).time_since_epoch().count());
}

std::string utcTime(std::int64_t milliseconds)
{
    constexpr std::int64_t year10000 = 253'402'300'800'000;
    if (milliseconds < 0 || milliseconds >= year10000)
        return {};
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text.data() + length, text.size() - length, ".%03dZ", static_cast<int>(milliseconds % 1000));
    return text.data();
}

std::optional<std::int64_t> momentOf(const std::string& utcTime)
{
    std::tm time{};
    const char* const end = strptime(utcTime.c_str(), "%Y-%m-%dT%H:%M:%S", &time);
    const std::string_view rest(end ? end : "");
    int thousandths = 0;
    if (rest != "Z") {
        // Five characters: a point, three digits and the Z.
        if (rest.size() != 5 || rest.front() != '.' || rest.back() != 'Z')
            return std::nullopt;
        for (const char c : rest.substr(1, 3)) {
            if (c < '0' || c > '9')
                return std::nullopt;
            thousandths = 10 * thousandths + (c - '0');
        }
    }
    const int day = time.tm_mday;
    const std::int64_t seconds = timegm(&time); // puts 30 February into March
    if (time.tm_mday != day)
        return std::nullopt;
    return seconds * 1000 + thousandths;
}

} // namespace vantorel
