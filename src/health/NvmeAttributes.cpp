// SPDX-License-Identifier: GPL-2.0-or-later
#include "Attributes.h"
#include "Typing.h"
#include "nvme/NvmeFormat.h"
#include "vantorel/layouts/Nvme.h"

#include <array>

namespace vantorel::health {

namespace {

using enum Meaning;

constexpr Measure count{Unit::count};
constexpr Measure percent{Unit::percent};
constexpr Measure minutes{Unit::minutes};
constexpr Measure dataUnits{Unit::bytes, 512'000}; // 1000 blocks of 512 bytes

struct Field {
    std::string_view key; ///< see `nvmeLogNumber`
    Meaning meaning;
    Measure measure;
};

constexpr Field fields[] = {
    {"CriticalWarning", criticalWarning, {Unit::flags}},
    {"Temperature", temperature, {Unit::celsius}},
    {"AvailableSpare", spareLeft, percent},
    {"AvailableSpareThreshold", spareLimit, percent},
    {"PercentageUsed", enduranceUsed, percent},
    {"DataUnitsRead", hostRead, dataUnits},
    {"DataUnitsWritten", hostWritten, dataUnits},
    {"HostReadCommands", hostCommands, count},
    {"HostWriteCommands", hostCommands, count},
    {"ControllerBusyTime", busyTime, minutes},
    {"PowerCycles", powerCycles, count},
    {"PowerOnHours", powerOnTime, {Unit::hours}},
    {"UnsafeShutdowns", unsafeShutdowns, count},
    {"MediaAndDataIntegrityErrors", mediaErrors, count},
    {"ErrorInformationLogEntries", errorLogEntries, count},
};

/// 0 K means that the drive does not tell; the value is then not plausible.
TypedValue kelvin(UInt128 kelvins)
{
    TypedValue value{.number = static_cast<Int128>(kelvins) - 273, .unit = Unit::celsius, .raw = kelvins};
    value.plausible = value.number >= coldest && value.number <= hottest;
    return value;
}

TypedValue typed(const Field& field, const NVMeSMARTLog& log)
{
    const NvmeLogNumber halves = nvmeLogNumber(field.key, log).value();
    const UInt128 number = static_cast<UInt128>(halves.high) << 64U | halves.low;
    if (field.meaning == temperature)
        return kelvin(number);
    TypedValue value = measured(number, field.measure);
    if (field.meaning == spareLeft || field.meaning == spareLimit)
        value.plausible = number <= 100;
    if (field.meaning == enduranceUsed) // 255 is "more than 254"; as the limit of the reserve, too, a broken log
        value.plausible = number != 255 || log.spare_thresh != 255;
    return value;
}

} // namespace

std::vector<Attribute> nvmeAttributesOf(const Reading& reading)
{
    const auto log = readRecord<NVMeSMARTLog>(reading.data);
    if (!log)
        return {};
    static constexpr std::string_view sensors[] = {"TemperatureSensor1", "TemperatureSensor2", "TemperatureSensor3",
                                                   "TemperatureSensor4", "TemperatureSensor5", "TemperatureSensor6",
                                                   "TemperatureSensor7", "TemperatureSensor8"};
    std::vector<Attribute> attributes;
    attributes.reserve(std::size(fields) + 2 + std::size(sensors));
    const auto add = [&](std::string_view name, Meaning meaning, const TypedValue& value) {
        attributes.push_back({.name = std::string(name),
                              .nameSource = NameSource::standard,
                              .meaning = meaning,
                              .confidence = Confidence::high,
                              .value = value});
    };
    for (const Field& field : fields)
        add(field.key, field.meaning, typed(field, *log));
    add("WarningTemperatureTime", temperatureTime, measured(log->warning_temp_time, minutes));
    add("CriticalTemperatureTime", temperatureTime, measured(log->critical_comp_time, minutes));
    for (std::size_t i = 0; i < std::size(sensors); ++i) {
        if (log->temp_sensor[i] != 0) // 0 is a sensor that the drive has not
            add(sensors[i], temperatureSensor, kelvin(log->temp_sensor[i]));
    }
    return attributes;
}

} // namespace vantorel::health
