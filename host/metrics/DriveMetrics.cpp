// SPDX-License-Identifier: GPL-2.0-or-later
#include "DriveMetrics.h"

#include "documents/WholeNumber.h"
#include "host/health/SureValue.h"
#include "vantorel/base/Text.h"
#include "vantorel/health/Attributes.h"
#include "vantorel/smart/Version.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace vantorel::host {

namespace {

using health::Attribute;
using health::Int128;
using health::Meaning;
using health::TypedValue;
using health::Unit;
using enum MetricType;

constexpr MetricDescription build{"vantorel_build", info, "", "The version that made these metrics."};
constexpr MetricDescription driveInfo{"vantorel_drive", info, "", "What a drive is."};
constexpr MetricDescription state{"vantorel_drive_read_state", gauge, "",
                                  "1 for what the last attempt to read the drive came to, 0 for what it did not."};
constexpr MetricDescription level{"vantorel_drive_level", gauge, "",
                                  "1 for the level of the drive's verdict, 0 for the others."};
constexpr MetricDescription reason{"vantorel_drive_reason", gauge, "",
                                   "1 for each reason of a verdict that is not good."};
constexpr MetricDescription hostBytes{"vantorel_drive_host_bytes", counter, "bytes",
                                      "Bytes that computers have read from the drive and written to it in its life."};

/// The number of a value times `factor`, as decimal digits.
std::string numberOf(const TypedValue& value, Int128 factor = 1)
{
    return health::decimalText(value.number * factor, value.decimals);
}

std::optional<std::string> ratioOf(const std::optional<TypedValue>& percent)
{
    if (!percent || !percent->plausible)
        return std::nullopt;
    return health::decimalText(percent->number, percent->decimals + 2U);
}

std::optional<std::string> secondsOf(const std::optional<TypedValue>& time)
{
    if (!time || !time->plausible)
        return std::nullopt;
    switch (time->unit) {
    case Unit::hours:
        return numberOf(*time, 3600);
    case Unit::minutes:
        return numberOf(*time, 60);
    case Unit::seconds:
        return numberOf(*time);
    default:
        return std::nullopt;
    }
}

/// A family with one sample a drive.
struct DriveNumber {
    MetricDescription about;
    std::optional<std::string> (*number)(const MeasuredDrive& drive);
};

constexpr DriveNumber driveNumbers[] = {
    {{"vantorel_drive_size_bytes", gauge, "bytes", "What the drive holds."},
     [](const MeasuredDrive& drive) {
         const auto size = drive.outcome->drive ? drive.outcome->drive->size : std::nullopt;
         return size ? std::optional(fmt::to_string(*size)) : std::nullopt;
     }},
    {{"vantorel_drive_last_read_timestamp_seconds", gauge, "seconds", "When the drive was last read."},
     [](const MeasuredDrive& drive) -> std::optional<std::string> {
         if (!drive.readAt)
             return std::nullopt;
         using std::chrono::milliseconds;
         const auto since = std::chrono::duration_cast<milliseconds>(drive.readAt->time_since_epoch());
         return health::decimalText(since.count(), 3);
     }},
};

/// A family with one sample a drive that has a verdict.
struct VerdictNumber {
    MetricDescription about;
    std::optional<std::string> (*number)(const health::Verdict& verdict);
};

constexpr VerdictNumber verdictNumbers[] = {
    {{"vantorel_drive_temperature_celsius", gauge, "celsius", "How warm the drive is."},
     [](const health::Verdict& verdict) {
         return verdict.temperature ? std::optional(numberOf(*verdict.temperature)) : std::nullopt;
     }},
    {{"vantorel_drive_power_on_seconds", counter, "seconds", "How long the drive has been on in its life."},
     [](const health::Verdict& verdict) { return secondsOf(verdict.powerOnTime); }},
    {{"vantorel_drive_wear_ratio", gauge, "ratio", "How much of its rated life is used; may pass 1."},
     [](const health::Verdict& verdict) { return ratioOf(verdict.wear); }},
    {{"vantorel_drive_spare_ratio", gauge, "ratio", "How much of its reserve is left."},
     [](const health::Verdict& verdict) { return ratioOf(verdict.spare); }},
};

/// A family of an attribute with this meaning and unit.
struct AttributeNumber {
    MetricDescription about;
    Meaning meaning;
    Unit unit;
};

constexpr AttributeNumber attributeNumbers[] = {
    {{"vantorel_drive_reallocated_sectors", counter, "", "Sectors of a disk that were replaced by spare ones."},
     Meaning::reallocatedSectors,
     Unit::sectors},
    {{"vantorel_drive_reallocated_blocks", counter, "", "Blocks of flash memory that were replaced by spare ones."},
     Meaning::reallocatedSectors,
     Unit::blocks},
    {{"vantorel_drive_pending_sectors", gauge, "", "Sectors that wait to be rewritten or replaced."},
     Meaning::pendingSectors,
     Unit::sectors},
    {{"vantorel_drive_uncorrectable_sectors", gauge, "", "Sectors that the drive's own scan could not read."},
     Meaning::uncorrectable,
     Unit::sectors},
    {{"vantorel_drive_uncorrectable_errors", counter, "",
      "Reads that failed for good, of which the computer was told."},
     Meaning::reportedUncorrect,
     Unit::count},
    {{"vantorel_drive_media_errors", counter, "", "Times when an NVMe drive lost data or could not verify them."},
     Meaning::mediaErrors,
     Unit::count},
    {{"vantorel_drive_interface_errors", counter, "", "Transfers between drive and computer that were damaged."},
     Meaning::interfaceErrors,
     Unit::count},
    {{"vantorel_drive_command_timeouts", counter, "", "Commands that took too long."},
     Meaning::commandTimeouts,
     Unit::count},
    {{"vantorel_drive_power_cycles", counter, "", "Times when the drive was switched on."},
     Meaning::powerCycles,
     Unit::count},
    {{"vantorel_drive_unsafe_shutdowns", counter, "", "Times when power was lost without warning."},
     Meaning::unsafeShutdowns,
     Unit::count},
};

/// A family of two counters of the system, by their names in the registry.
struct IoNumber {
    MetricDescription about;
    std::string_view key; ///< without the direction
    unsigned decimals;    ///< times are counted in nanoseconds
};

constexpr IoNumber ioNumbers[] = {
    {{"vantorel_drive_io_operations", counter, "", "Reads and writes since the drive was attached."}, "Operations", 0},
    {{"vantorel_drive_io_bytes", counter, "bytes", "Bytes read and written since the drive was attached."}, "Bytes", 0},
    {{"vantorel_drive_io_seconds", counter, "seconds", "How long reads and writes took, one after the other."},
     "Total Time",
     9},
    {{"vantorel_drive_io_latency_seconds", counter, "seconds", "How long reads and writes waited for the drive."},
     "Latency Time",
     9},
    {{"vantorel_drive_io_errors", counter, "", "Reads and writes that failed."}, "Errors", 0},
    {{"vantorel_drive_io_retries", counter, "", "Reads and writes that were tried again."}, "Retries", 0},
};

std::string trimmed(const std::optional<std::string>& text)
{
    return std::string(base::trimmed(text ? std::string_view(*text) : std::string_view()));
}

/// What tells a drive from all others, and what a reader knows it by. The device name may be another drive's tomorrow.
MetricLabels identityOf(const DriveOutcome& outcome)
{
    if (!outcome.drive)
        return {{"device", outcome.name}};
    return {
        {"device", outcome.name}, {"model", trimmed(outcome.drive->model)}, {"serial", trimmed(outcome.drive->serial)}};
}

MetricLabels with(MetricLabels labels, MetricLabels more)
{
    std::ranges::move(more, std::back_inserter(labels));
    return labels;
}

/// All families while they are filled, in their order.
class Collection {
public:
    void add(const MetricDescription& about, const MetricLabels& labels, std::string_view number)
    {
        family(about).add(labels, number);
    }

    std::vector<MetricFamily> families() && { return std::move(families_); }

private:
    MetricFamily& family(const MetricDescription& about)
    {
        const auto [place, isNew] = places_.try_emplace(&about, families_.size());
        if (isNew)
            families_.emplace_back(about);
        return families_[place->second];
    }

    std::vector<MetricFamily> families_;
    std::map<const MetricDescription*, std::size_t> places_;
};

void addVerdict(Collection& all, const health::Verdict& verdict, const MetricLabels& identity)
{
    for (const std::string_view name : rawTexts<health::Level>)
        all.add(level, with(identity, {{"level", std::string(name)}}), name == rawValue(verdict.level) ? "1" : "0");
    for (const health::Reason& found : verdict.reasons) {
        if (found.level != health::Level::good)
            all.add(reason,
                    with(identity, {{"rule", std::string(found.rule)},
                                    {"attribute", found.name},
                                    {"level", std::string(rawValue(found.level))}}),
                    "1");
    }
    for (const VerdictNumber& family : verdictNumbers) {
        if (const auto number = family.number(verdict))
            all.add(family.about, identity, *number);
    }
}

void addAttributes(Collection& all, const health::JudgedReading& judged, const MetricLabels& identity)
{
    const std::vector<Attribute> attributes = health::attributesOf(judged.view());
    for (const AttributeNumber& family : attributeNumbers) {
        if (const auto value = sureValue(attributes, family.meaning, family.unit))
            all.add(family.about, identity, numberOf(*value));
    }
    for (const auto& [direction, meaning] : {std::pair("read", Meaning::hostRead), {"write", Meaning::hostWritten}}) {
        if (const auto value = sureValue(attributes, meaning, Unit::bytes))
            all.add(hostBytes, with(identity, {{"direction", direction}}), numberOf(*value));
    }
}

void addCounters(Collection& all, const MeasuredDrive& measured, const MetricLabels& identity)
{
    for (const IoNumber& family : ioNumbers) {
        for (const auto& [direction, name] : {std::pair("read", "Read"), {"write", "Write"}}) {
            const auto counter = measured.counters.find(fmt::format("{} ({})", family.key, name));
            if (counter != measured.counters.end())
                all.add(family.about, with(identity, {{"direction", direction}}),
                        health::decimalText(wholeNumber(counter->second), family.decimals));
        }
    }
}

} // namespace

MeasuredDrive MeasuredDrive::of(const DriveOutcome& outcome,
                                std::optional<std::chrono::system_clock::time_point> readAt)
{
    const auto live = outcome.drive ? driveNamed(outcome.name) : nullptr;
    return {&outcome, readAt, live ? live->counters().value_or(decltype(counters)()) : decltype(counters)()};
}

std::vector<MetricFamily> driveMetrics(std::span<const MeasuredDrive> drives)
{
    Collection all;
    all.add(build, {{"version", reinterpret_cast<const char*>(VantorelVersionString)}}, "1");
    for (const MeasuredDrive& measured : drives) {
        const DriveOutcome& outcome = *measured.outcome;
        const MetricLabels identity = identityOf(outcome);
        if (outcome.drive)
            all.add(driveInfo,
                    with(identity, {{"firmware", trimmed(outcome.drive->firmware)},
                                    {"kind", std::string(rawValue(outcome.drive->kind))},
                                    {"interface", std::string(rawValue(outcome.drive->interface))}}),
                    "1");
        for (const std::string_view name : rawTexts<DriveOutcome::Kind>)
            all.add(state, with(identity, {{"state", std::string(name)}}), name == rawValue(outcome.kind) ? "1" : "0");
        for (const DriveNumber& family : driveNumbers) {
            if (const auto number = family.number(measured))
                all.add(family.about, identity, *number);
        }
        if (outcome.judged) {
            addVerdict(all, outcome.judged->verdict, identity);
            addAttributes(all, *outcome.judged, identity);
        }
        addCounters(all, measured, identity);
    }
    return std::move(all).families();
}

} // namespace vantorel::host
