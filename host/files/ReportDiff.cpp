// SPDX-License-Identifier: GPL-2.0-or-later
#include "ReportDiff.h"

#include "host/console/Status.h"
#include "vantorel/ata/AttributeFormat.h"
#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Text.h"
#include "vantorel/layouts/AtaSmart.h"
#include "vantorel/layouts/Nvme.h"
#include "vantorel/nvme/NvmeFormat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace vantorel::host {

namespace {

enum class Bad { never, whenItGrows, whenItShrinks };

/// One value of one drive, in the form in which two can be compared.
struct Reading {
    std::string key; ///< what it is known by in both reports
    std::string id;
    std::string name;
    std::string text;
    NvmeLogNumber number;
    Bad bad = Bad::never;
    int severity = 0;  ///< of its state, 0 for a good one
    std::string state; ///< in words
    int status = 0;    ///< bits of `Status` that its state asks for
};

/// In the raw names of attributes that count damage, as the drive table spells them: a drive that is well does not
/// count them up.
constexpr std::array<std::string_view, 14> damageWords{
    "Realloc", "Pending",    "Uncorr",     "UECC",       "_Unc_",      "UNC_",
    "CRC",     "Bad_Bl",     "Retired_Bl", "End-to-End", "Spin_Retry", "Calibration_Retry",
    "_Fail",   "Undetected",
};

/// The bits of a raw value that are the number; what lies above is something else, such as a count a day.
int numberWidth(ata_attr_raw_format format)
{
    using enum ata_attr_raw_format;
    switch (format) {
    case raw16_raw16:
    case raw16_avg16:
    case tempminmax:
    case temp10x:
        return 16;
    case raw24_raw8:
    case raw24_div_raw24:
    case raw24_div_raw32:
        return 24;
    case msec24hour32:
        return 32;
    default:
        return 48;
    }
}

NvmeLogNumber rawNumber(const IOATASmartAttribute& attribute, ata_attr_raw_format format)
{
    std::uint64_t number = 0;
    for (std::size_t i = attribute.rawvalue.size(); i-- > 0;)
        number = number << 8 | attribute.rawvalue[i];
    return {.low = number & ((std::uint64_t{1} << numberWidth(format)) - 1)};
}

int statusOfState(const ATASmartValue& value)
{
    const int severity = severityOf(value.state);
    if (severity == 2 && value.type == SmartAttributeType::preFail)
        return driveFailing | driveAtRisk;
    return severity == 0 ? 0 : driveToWatch;
}

std::vector<Reading> readingsOf(const ATASmartObject& result, bool isSSD)
{
    std::vector<Reading> readings;
    const auto sector = readRecord<SmartVendorSpecificData>(result.rawData);
    const KnownDrive drive = knownDrive(result.deviceInfo);
    auto value = result.smartValues.begin(); // one for each slot in use, in their order
    for (const IOATASmartAttribute& attribute : sector.value().attributes) {
        if (attribute.attributeId == 0)
            continue;
        const ATASmartAttributeDefinition& definition = drive.attribute(attribute.attributeId).definition;
        const std::string_view rawName = drive.rawName(attribute.attributeId, isSSD);
        const bool countsDamage = std::ranges::any_of(
            damageWords, [&](std::string_view word) { return rawName.find(word) != std::string_view::npos; });
        const std::string id = std::to_string(attribute.attributeId);
        readings.push_back({id, id, value->name, value->formattedValue, rawNumber(attribute, definition.format),
                            countsDamage ? Bad::whenItGrows : Bad::never, severityOf(value->state),
                            std::string(rawValue(value->state)), statusOfState(*value)});
        ++value;
    }
    return readings;
}

/// How a field of a health log can go wrong.
struct LogRule {
    std::string_view key;
    Bad bad;
    int status; ///< bits of `Status` while `isBad`
    bool (*isBad)(const NVMeSMARTLog& log);
};

constexpr std::array<LogRule, 4> logRules{{
    {"CriticalWarning", Bad::whenItGrows, driveFailing,
     [](const NVMeSMARTLog& log) { return log.critical_warning != 0; }},
    {"AvailableSpare", Bad::whenItShrinks, driveAtRisk,
     [](const NVMeSMARTLog& log) { return log.avail_spare <= log.spare_thresh && log.spare_thresh != 0; }},
    {"PercentageUsed", Bad::never, driveToWatch, [](const NVMeSMARTLog& log) { return log.percent_used >= 100; }},
    {"MediaAndDataIntegrityErrors", Bad::whenItGrows, success, [](const NVMeSMARTLog&) { return false; }},
}};

/// A field as a number: of the critical warning, how many conditions there are.
NvmeLogNumber comparableNumber(std::string_view key, const NVMeSMARTLog& log)
{
    const NvmeLogNumber number = nvmeLogNumber(key, log).value();
    return key == "CriticalWarning" ? NvmeLogNumber{.low = static_cast<std::uint64_t>(std::popcount(number.low))}
                                    : number;
}

std::vector<Reading> readingsOf(const NVMeSmartObject& result, bool /*isSSD*/)
{
    const auto log = readRecord<NVMeSMARTLog>(result.rawData);
    std::vector<Reading> readings;
    for (const std::string_view key : nvmeLogKeys()) {
        if (key == "AvailableSpareThreshold")
            continue; // no reading: it stays
        const NVMeSmartValue value = processSmartValue(key, log.value());
        const auto rule = std::ranges::find(logRules, key, &LogRule::key);
        const bool isRuled = rule != logRules.end();
        const bool isBad = isRuled && rule->isBad(*log);
        readings.push_back({std::string(key), "", value.name, value.formattedValue, comparableNumber(key, *log),
                            isRuled ? rule->bad : Bad::never, isBad ? 1 : 0, isBad ? "warning" : "ok",
                            isBad ? rule->status : 0});
    }
    return readings;
}

std::vector<Reading> readingsOf(const ReportedDrive& drive)
{
    return drive.decoded->visit([&](const auto& result) { return readingsOf(result, drive.stored.kind == "ssd"); });
}

/// What a reading did; absent when it is as it was.
std::optional<ValueChange> compareReadings(const Reading& before, const Reading& after)
{
    using enum ValueChange::Kind;
    ValueChange change{changed, after.id, after.name, before.text, after.text, 0};
    if (before.severity != after.severity) {
        change.kind = after.severity > before.severity ? crossed : recovered;
        change.status = change.kind == crossed ? after.status : 0;
        change.before += " (" + before.state + ')';
        change.after += " (" + after.state + ')';
    } else if (before.number != after.number) {
        change.kind = after.number > before.number ? grew : shrank;
        const bool isBad = change.kind == grew ? after.bad == Bad::whenItGrows : after.bad == Bad::whenItShrinks;
        change.status = isBad ? damageGrew : 0;
    } else if (before.text == after.text) {
        return std::nullopt;
    }
    return change;
}

/// Each attribute number counts once: a sector may hold one twice, and the first is then meant.
const Reading* find(const std::vector<Reading>& readings, const std::string& key)
{
    const auto found = std::ranges::find(readings, key, &Reading::key);
    return found == readings.end() ? nullptr : &*found;
}

std::vector<ValueChange> compareValues(const std::vector<Reading>& before, const std::vector<Reading>& after)
{
    using enum ValueChange::Kind;
    std::vector<ValueChange> changes;
    for (const Reading& reading : after) {
        if (find(after, reading.key) != &reading)
            continue;
        const Reading* const last = find(before, reading.key);
        if (!last)
            changes.push_back({appeared, reading.id, reading.name, "", reading.text, reading.status});
        else if (std::optional<ValueChange> change = compareReadings(*last, reading))
            changes.push_back(*std::move(change));
    }
    for (const Reading& reading : before) {
        if (!find(after, reading.key) && find(before, reading.key) == &reading)
            changes.push_back({vanished, reading.id, reading.name, reading.text, "", 0});
    }
    return changes;
}

DriveChange describe(const ReportedDrive& drive, DriveChange::Kind kind)
{
    return {kind, drive.name, drive.stored.model.value_or(""), std::string(base::trimmed(drive.identity.serial)),
            {},   0};
}

DriveChange compareDrives(const ReportedDrive& before, const ReportedDrive& after)
{
    DriveChange change = describe(after, DriveChange::Kind::stayed);
    const auto isAta = [](const ReportedDrive& drive) { return drive.decoded->as<ATASmartObject>() != nullptr; };
    const bool areComparable = before.decoded && after.decoded && isAta(before) == isAta(after);
    if (areComparable)
        change.values = compareValues(readingsOf(before), readingsOf(after));
    else if (after.decoded)
        change.values = {{ValueChange::Kind::appeared, "", "S.M.A.R.T. data", "", "readable", 0}};
    else if (before.decoded)
        change.values = {{ValueChange::Kind::vanished, "", "S.M.A.R.T. data", "readable", "", readFailed}};
    for (const ValueChange& value : change.values)
        change.status |= value.status;
    return change;
}

/// The drives of the earlier report that have no later one yet, found by what a later one must share with them.
class EarlierDrives {
public:
    explicit EarlierDrives(const std::vector<ReportedDrive>& drives) : drives_(drives), isTaken_(drives.size())
    {
        for (std::size_t i = drives.size(); i-- > 0;) { // so that the first stands last in its list
            const std::string_view serial = serialOf(drives[i]);
            bySerial_[serial].push_back(i);
            byModel_[modelOf(drives[i])].push_back(i);
            if (serial.empty())
                unnumberedByModel_[modelOf(drives[i])].push_back(i);
        }
    }

    /// Takes the first that is the same as a later one; nothing when there is none.
    const ReportedDrive* take(const ReportedDrive& later)
    {
        const std::string_view serial = serialOf(later);
        const std::size_t index =
            serial.empty() ? firstOf(byModel_, modelOf(later))
                           : std::min(firstOf(bySerial_, serial), firstOf(unnumberedByModel_, modelOf(later)));
        if (index == drives_.size())
            return nullptr;
        isTaken_[index] = true;
        return &drives_[index];
    }

    [[nodiscard]] bool isTaken(std::size_t index) const { return isTaken_[index]; }

private:
    using Model = std::pair<std::string_view, std::string_view>; // and device name
    using Indices = std::vector<std::size_t>;

    static std::string_view serialOf(const ReportedDrive& drive) { return base::trimmed(drive.identity.serial); }
    static Model modelOf(const ReportedDrive& drive)
    {
        const std::optional<std::string>& model = drive.stored.model;
        return {model ? std::string_view(*model) : std::string_view(), drive.name};
    }

    /// The number of drives when there is none.
    template <typename Map, typename Key>
    std::size_t firstOf(Map& map, const Key& key)
    {
        const auto found = map.find(key);
        if (found == map.end())
            return drives_.size();
        while (!found->second.empty() && isTaken_[found->second.back()])
            found->second.pop_back();
        return found->second.empty() ? drives_.size() : found->second.back();
    }

    const std::vector<ReportedDrive>& drives_;
    std::vector<bool> isTaken_;
    std::map<std::string_view, Indices> bySerial_;
    std::map<Model, Indices> byModel_;
    std::map<Model, Indices> unnumberedByModel_;
};

} // namespace

std::string_view rawValue(ValueChange::Kind kind)
{
    constexpr std::string_view names[] = {"appeared", "vanished", "grew", "shrank", "changed", "crossed", "recovered"};
    return names[static_cast<std::size_t>(kind)];
}

std::string_view rawValue(DriveChange::Kind kind)
{
    constexpr std::string_view names[] = {"appeared", "vanished", "stayed"};
    return names[static_cast<std::size_t>(kind)];
}

std::vector<DriveChange> compareReports(const ReportFile& before, const ReportFile& after)
{
    std::vector<DriveChange> changes;
    EarlierDrives earlier(before.drives);
    for (const ReportedDrive& drive : after.drives) {
        const ReportedDrive* const same = earlier.take(drive);
        changes.push_back(same ? compareDrives(*same, drive) : describe(drive, DriveChange::Kind::appeared));
    }
    for (std::size_t i = 0; i < before.drives.size(); ++i) {
        if (earlier.isTaken(i))
            continue;
        changes.push_back(describe(before.drives[i], DriveChange::Kind::vanished));
        changes.back().status = driveNotOpened;
    }
    return changes;
}

} // namespace vantorel::host
