// SPDX-License-Identifier: GPL-2.0-or-later
#include "FleetView.h"

#include "documents/JsonDocument.h"
#include "host/console/Text.h"

#include <fmt/format.h>

#include <span>

namespace vantorel::host {

namespace {

/// In the order of `Standing`.
constexpr const char* standingWords[standings] = {"failing", "at risk",  "watch",  "unknown",
                                                  "good",    "not read", "asleep", "without SMART"};

const char* wordsOf(Standing standing)
{
    return standingWords[static_cast<std::size_t>(standing)];
}

Emphasis emphasisOf(Standing standing)
{
    switch (standing) {
    case Standing::failing:
    case Standing::atRisk:
        return Emphasis::bad;
    case Standing::watch:
    case Standing::unknown:
    case Standing::notRead:
        return Emphasis::warning;
    default:
        return Emphasis::none;
    }
}

std::string orDash(const std::string& text, std::size_t width)
{
    return text.empty() ? "-" : shortened(printable(text), width);
}

std::string notGoodText(const std::vector<const FleetDrive*>& drives)
{
    if (drives.empty())
        return "";
    Table table({{"LEVEL"}, {"MODEL"}, {"SERIAL"}, {"FIRMWARE"}, {"DISK"}, {"REPORT"}});
    for (const FleetDrive* const drive : drives) {
        table.add({wordsOf(drive->standing), orDash(drive->model, 28), orDash(drive->serial, 20),
                   orDash(drive->firmware, 8), orDash(drive->device, 16), printable(drive->report)},
                  emphasisOf(drive->standing));
        if (!drive->why.empty())
            table.addBelow(wrapped(printable(drive->why), screenWidth(), 4, "  - "));
    }
    return table.text() + '\n';
}

std::string groupsText(const std::map<DriveGroup, Tally>& groups)
{
    constexpr auto right = Table::Align::right;
    Table table({{"MODEL"},
                 {"FIRMWARE"},
                 {"DRIVES", right},
                 {"FAILING", right},
                 {"AT RISK", right},
                 {"WATCH", right},
                 {"GOOD", right},
                 {"OTHER", right}});
    for (const auto& [group, tally] : groups) {
        std::vector<std::string> cells{orDash(group.model, 28), orDash(group.firmware, 8), std::to_string(tally.all())};
        for (const Standing standing : {Standing::failing, Standing::atRisk, Standing::watch, Standing::good})
            cells.push_back(tally.of(standing) == 0 ? "-" : std::to_string(tally.of(standing)));
        const std::size_t other = tally.all() - tally.judged();
        cells.push_back(other == 0 ? "-" : std::to_string(other));
        table.add(std::move(cells));
    }
    return table.text() + '\n';
}

std::string shareText(const Tally& tally)
{
    return fmt::format("{} of {} ({:.1f} %)", tally.bad(), tally.judged(),
                       100.0 * static_cast<double>(tally.bad()) / static_cast<double>(tally.judged()));
}

std::string unusualText(const std::vector<UnusualModel>& models)
{
    std::string text;
    for (const UnusualModel& model : models)
        text +=
            wrapped(fmt::format("{}: {} at risk or failing, of the other drives of its kind {}; as many by "
                                "chance: {:.1g}",
                                printable(model.model), shareText(model.its), shareText(model.others), model.chance),
                    screenWidth(), 4, "  - ");
    return text.empty() ? "" : "Unusual models\n" + text + '\n';
}

Tally sumOf(const std::map<DriveGroup, Tally>& groups)
{
    Tally sum;
    for (const auto& [group, tally] : groups)
        sum += tally;
    return sum;
}

std::string countOf(std::size_t count, const char* what)
{
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

Json tallyJson(const Tally& tally)
{
    Json json = Json::object();
    for (std::size_t i = 0; i < standings; ++i)
        json[std::string(rawTexts<Standing>[i])] = tally.counts[i];
    return json;
}

Json driveJson(const FleetDrive& drive)
{
    Json json = {{"standing", vantorel::rawValue(drive.standing)}, {"report", drive.report}, {"device", drive.device}};
    const std::pair<const char*, const std::string&> texts[] = {
        {"model", drive.model}, {"serial", drive.serial}, {"firmware", drive.firmware}, {"why", drive.why}};
    for (const auto& [key, text] : texts) {
        if (!text.empty())
            json[key] = text;
    }
    if (drive.hours)
        json["powerOnHours"] = *drive.hours;
    return json;
}

} // namespace

std::string fleetText(const FleetSum& sum)
{
    const auto groups = sum.fleet.groups();
    const Tally all = sumOf(groups);
    std::string last = fmt::format("{}, {}", countOf(sum.reports, "report"), countOf(all.all(), "drive"));
    const char* separator = ": ";
    for (std::size_t i = 0; i < standings; ++i) {
        if (all.counts[i] != 0)
            last += fmt::format("{}{} {}", std::exchange(separator, ", "), all.counts[i], standingWords[i]);
    }
    if (!sum.faults.empty())
        last += fmt::format("; {} of reports", countOf(sum.faults.size(), "fault"));
    return notGoodText(sum.fleet.notGood()) + (groups.empty() ? "" : groupsText(groups)) +
           unusualText(unusualModels(groups)) + wrapped(last, screenWidth(), 0);
}

std::string fleetDocument(const FleetSum& sum)
{
    const auto groups = sum.fleet.groups();
    Json document = {{"format", documentFormat}, {"reports", sum.reports}, {"faults", Json::array()}};
    for (const ReportFault& fault : sum.faults)
        document["faults"].push_back({{"report", fault.report}, {"error", fault.error}});
    document["drives"] = tallyJson(sumOf(groups));
    std::vector<std::string> notGood; // as texts: there may be many
    for (const FleetDrive* const drive : sum.fleet.notGood())
        notGood.push_back(jsonText(driveJson(*drive)));
    Json counted = Json::array();
    for (const auto& [group, tally] : groups)
        counted.push_back(
            {{"model", group.model}, {"firmware", group.firmware}, {"kind", group.kind}, {"drives", tallyJson(tally)}});
    Json unusual = Json::array();
    for (const UnusualModel& model : unusualModels(groups))
        unusual.push_back({{"model", model.model},
                           {"kind", model.kind},
                           {"bad", model.its.bad()},
                           {"judged", model.its.judged()},
                           {"othersBad", model.others.bad()},
                           {"othersJudged", model.others.judged()},
                           {"chance", model.chance}});
    JsonObject whole(document);
    whole.splice("notGood", jsonArray(notGood));
    whole.put("groups", counted);
    whole.put("unusual", unusual);
    return whole.text() + '\n';
}

} // namespace vantorel::host
