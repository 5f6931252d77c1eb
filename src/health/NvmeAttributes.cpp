// SPDX-License-Identifier: GPL-2.0-or-later
#include "Attributes.h"
#include "Typing.h"
#include "vantorel/layouts/Nvme.h"

namespace vantorel::health {

namespace {

constexpr Measure dataUnits{Unit::bytes, 512'000}; // 1000 blocks of 512 bytes

UInt128 numberOf(const NvmeCounter& counter)
{
    UInt128 number = 0;
    for (std::size_t i = counter.size(); i-- > 0;)
        number = number << 8U | counter[i];
    return number;
}

/// 0 K means that the drive does not tell; the value is then not plausible.
TypedValue kelvin(std::uint16_t kelvins)
{
    TypedValue value{.number = Int128{kelvins} - 273, .unit = Unit::celsius, .raw = kelvins};
    value.plausible = value.number >= coldest && value.number <= hottest;
    return value;
}

TypedValue percent(std::uint8_t number, unsigned most)
{
    return {.number = number, .unit = Unit::percent, .raw = number, .plausible = number <= most};
}

} // namespace

std::vector<Attribute> nvmeAttributesOf(const Reading& reading)
{
    const auto log = readRecord<NVMeSMARTLog>(reading.data);
    if (!log)
        return {};
    std::vector<Attribute> attributes;
    attributes.reserve(25);
    const auto add = [&](std::string_view name, Meaning meaning, const TypedValue& value) {
        attributes.push_back({.name = std::string(name),
                              .nameSource = NameSource::standard,
                              .meaning = meaning,
                              .confidence = Confidence::high,
                              .value = value});
    };
    const auto addCounter = [&](std::string_view name, Meaning meaning, const NvmeCounter& counter,
                                const Measure& measure) { add(name, meaning, measured(numberOf(counter), measure)); };
    using enum Meaning;
    constexpr Measure count{Unit::count};
    constexpr Measure minutes{Unit::minutes};

    add("CriticalWarning", criticalWarning, measured(log->critical_warning, {Unit::flags}));
    add("Temperature", temperature,
        kelvin(static_cast<std::uint16_t>(log->temperature[0] | static_cast<unsigned>(log->temperature[1]) << 8U)));
    add("AvailableSpare", spareLeft, percent(log->avail_spare, 100));
    add("AvailableSpareThreshold", spareLimit, percent(log->spare_thresh, 100));
    TypedValue used = percent(log->percent_used, 255);
    used.plausible = log->percent_used != 255 || log->spare_thresh != 255; // both at once: a broken log
    add("PercentageUsed", enduranceUsed, used);
    addCounter("DataUnitsRead", hostRead, log->data_units_read, dataUnits);
    addCounter("DataUnitsWritten", hostWritten, log->data_units_written, dataUnits);
    addCounter("HostReadCommands", hostCommands, log->host_reads, count);
    addCounter("HostWriteCommands", hostCommands, log->host_writes, count);
    addCounter("ControllerBusyTime", busyTime, log->ctrl_busy_time, minutes);
    addCounter("PowerCycles", powerCycles, log->power_cycles, count);
    addCounter("PowerOnHours", powerOnTime, log->power_on_hours, {Unit::hours});
    addCounter("UnsafeShutdowns", unsafeShutdowns, log->unsafe_shutdowns, count);
    addCounter("MediaAndDataIntegrityErrors", mediaErrors, log->media_errors, count);
    addCounter("ErrorInformationLogEntries", errorLogEntries, log->num_err_log_entries, count);
    add("WarningTemperatureTime", temperatureTime, measured(log->warning_temp_time, minutes));
    add("CriticalTemperatureTime", temperatureTime, measured(log->critical_comp_time, minutes));

    static constexpr std::string_view sensors[] = {"TemperatureSensor1", "TemperatureSensor2", "TemperatureSensor3",
                                                   "TemperatureSensor4", "TemperatureSensor5", "TemperatureSensor6",
                                                   "TemperatureSensor7", "TemperatureSensor8"};
    for (std::size_t i = 0; i < std::size(sensors); ++i) {
        if (log->temp_sensor[i] != 0) // 0 is a sensor that the drive has not
            add(sensors[i], temperatureSensor, kelvin(log->temp_sensor[i]));
    }
    return attributes;
}

} // namespace vantorel::health
