// SPDX-License-Identifier: GPL-2.0-or-later
#include "FleetDrive.h"

#include "documents/JsonDocument.h"
#include "host/health/SureValue.h"
#include "vantorel/base/Text.h"

#include <chrono>
#include <cmath>
#include <limits>

namespace vantorel::host {

namespace {

using health::Level;
using health::Meaning;
using health::Unit;

Standing standingOf(const ReportedDrive& drive)
{
    if (!drive.judged) {
        if (drive.stored.failure && drive.stored.failure->asleep)
            return Standing::asleep;
        return drive.smart == ReportedDrive::Smart::none ? Standing::withoutSmart : Standing::notRead;
    }
    switch (drive.judged->verdict.level) {
    case Level::failing:
        return Standing::failing;
    case Level::atRisk:
        return Standing::atRisk;
    case Level::watch:
        return Standing::watch;
    case Level::good:
        return Standing::good;
    case Level::unknown:
        break;
    }
    return Standing::unknown;
}

std::string whyNotRead(const ReportedDrive& drive)
{
    return drive.stored.failure ? drive.stored.failure->error : drive.fault;
}

/// A member of the line that is an attribute with this meaning and unit.
struct Count {
    const char* key;
    Meaning meaning;
    Unit unit;
};

constexpr Count counts[] = {
    {"powerCycles", Meaning::powerCycles, Unit::count},
    {"unsafeShutdowns", Meaning::unsafeShutdowns, Unit::count},
    {"reallocatedSectors", Meaning::reallocatedSectors, Unit::sectors},
    {"reallocatedBlocks", Meaning::reallocatedSectors, Unit::blocks},
    {"pendingSectors", Meaning::pendingSectors, Unit::sectors},
    {"uncorrectableSectors", Meaning::uncorrectable, Unit::sectors},
    {"uncorrectableErrors", Meaning::reportedUncorrect, Unit::count},
    {"mediaErrors", Meaning::mediaErrors, Unit::count},
    {"interfaceErrors", Meaning::interfaceErrors, Unit::count},
    {"commandTimeouts", Meaning::commandTimeouts, Unit::count},
    {"readBytes", Meaning::hostRead, Unit::bytes},
    {"writtenBytes", Meaning::hostWritten, Unit::bytes},
};

void putText(Json& line, const char* key, const std::optional<std::string>& text)
{
    const std::string_view trimmed = base::trimmed(text ? std::string_view(*text) : std::string_view());
    if (!trimmed.empty())
        line[key] = trimmed;
}

/// Engines hold whole numbers in 64 bits with a sign; a larger one is left out.
void putCount(Json& line, const char* key, const std::optional<health::TypedValue>& value)
{
    if (value && value->decimals == 0 && value->number >= 0 &&
        value->number <= std::numeric_limits<std::int64_t>::max())
        line[key] = static_cast<std::int64_t>(value->number);
}

void putNumber(Json& line, const char* key, const std::optional<health::TypedValue>& value)
{
    if (value && value->plausible)
        line[key] = static_cast<double>(value->number) / std::pow(10.0, value->decimals);
}

void putJudged(Json& line, const health::JudgedReading& judged)
{
    const health::Verdict& verdict = judged.verdict;
    if (judged.known && judged.known->row)
        putText(line, "family", std::string(judged.known->row->modelfamily));
    line["rule"] = verdict.reasons.front().rule;
    line["reason"] = verdict.reasons.front().sentence;
    line["rules"] = Json::array();
    for (const health::Reason& reason : verdict.reasons)
        line["rules"].push_back(reason.rule);
    putNumber(line, "temperature", verdict.temperature);
    if (verdict.powerOnTime) {
        if (const auto hours = wholeHours(*verdict.powerOnTime))
            line["powerOnHours"] = *hours;
    }
    putNumber(line, "wear", verdict.wear);
    putNumber(line, "spare", verdict.spare);
    const std::vector<health::Attribute> attributes = health::attributesOf(judged.view());
    for (const Count& count : counts)
        putCount(line, count.key, sureValue(attributes, count.meaning, count.unit));
}

} // namespace

std::optional<std::int64_t> secondsOf(std::string_view utc)
{
    constexpr std::string_view form = "0000-00-00T00:00:00Z";
    if (utc.size() != form.size())
        return std::nullopt;
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool isDigit = utc[i] >= '0' && utc[i] <= '9';
        if (form[i] == '0' ? !isDigit : utc[i] != form[i])
            return std::nullopt;
    }
    const auto number = [&](std::size_t from, std::size_t digits) {
        return std::stoi(std::string(utc.substr(from, digits)));
    };
    using namespace std::chrono;
    const year_month_day day{year(number(0, 4)), month(static_cast<unsigned>(number(5, 2))),
                             std::chrono::day(static_cast<unsigned>(number(8, 2)))};
    if (!day.ok() || number(11, 2) > 23 || number(14, 2) > 59 || number(17, 2) > 59)
        return std::nullopt;
    const auto time = sys_days(day) + hours(number(11, 2)) + minutes(number(14, 2)) + seconds(number(17, 2));
    return time.time_since_epoch().count();
}

FleetDrive fleetDrive(const ReportFile& report, const ReportedDrive& drive)
{
    FleetDrive fleet;
    fleet.model = base::trimmed(drive.stored.model.value_or(""));
    fleet.firmware = base::trimmed(drive.identity.firmware);
    fleet.kind = drive.stored.kind.value_or("unknown");
    fleet.serial = base::trimmed(drive.identity.serial);
    fleet.report = report.path;
    fleet.device = drive.name;
    fleet.created = secondsOf(report.origin.created.value_or(""));
    fleet.standing = standingOf(drive);
    if (drive.judged) {
        const health::Verdict& verdict = drive.judged->verdict;
        if (verdict.level != Level::good)
            fleet.why = verdict.reasons.front().sentence;
        fleet.hours = verdict.powerOnTime ? wholeHours(*verdict.powerOnTime) : std::nullopt;
    } else {
        fleet.why = whyNotRead(drive);
    }
    return fleet;
}

std::string fleetLine(const ReportFile& report, const ReportedDrive& drive)
{
    Json line = {{"format", documentFormat}};
    line["report"] = report.path;
    if (secondsOf(report.origin.created.value_or("")))
        line["created"] = *report.origin.created;
    putText(line, "system", report.origin.system);
    putText(line, "kernel", report.origin.kernel);
    line["device"] = drive.name;
    putText(line, "vendor", drive.stored.vendor);
    putText(line, "model", drive.stored.model);
    putText(line, "serial", drive.identity.serial);
    putText(line, "firmware", drive.identity.firmware);
    putText(line, "kind", drive.stored.kind);
    putText(line, "interface", drive.stored.interface);
    line["standing"] = vantorel::rawValue(standingOf(drive));
    if (drive.judged)
        putJudged(line, *drive.judged);
    else
        putText(line, "error", whyNotRead(drive));
    return jsonLine(line);
}

} // namespace vantorel::host
