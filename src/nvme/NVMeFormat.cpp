// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/nvme/NVMeFormat.h"

#include "vantorel/system/ByteCountFormatter.h"
#include "vantorel/system/Localization.h"
#include "vantorel/system/NumberFormatter.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace vantorel {

namespace {

/// A data unit is a thousand blocks of 512 bytes.
constexpr std::uint64_t bytesPerDataUnit = 512000;

std::string percent(std::uint8_t value)
{
    return std::to_string(value) + '%';
}

struct Row {
    std::string_view key;
    NVMeSmartValueDefinition definition;
    std::string (*text)(const NVMeSMARTLog& log);
};

using enum SmartValueType;
using Log = NVMeSMARTLog;

constexpr std::array<Row, 15> rows = {{
    {"CriticalWarning",
     {"Critical Warning", string, ""},
     [](const Log& log) { return processWarningFlag(log.critical_warning); }},
    {"Temperature",
     {"Temperature", temperature, "Temperature of the drive"},
     [](const Log& log) { return kelvin(static_cast<std::int64_t>(le16ToUInt(log.temperature))); }},
    {"AvailableSpare",
     {"Available Spare", percentage, "Available "},
     [](const Log& log) { return percent(log.avail_spare); }},
    {"AvailableSpareThreshold",
     {"Available Spare Threshold", percentage, ""},
     [](const Log& log) { return percent(log.spare_thresh); }},
    {"PercentageUsed", {"Percentage Used", percentage, ""}, [](const Log& log) { return percent(log.percent_used); }},
    {"DataUnitsRead",
     {"Data Units Read", bytes, ""},
     [](const Log& log) { return formatNVMeValue(log.data_units_read, bytesPerDataUnit); }},
    {"DataUnitsWritten",
     {"Data Units Written", bytes, ""},
     [](const Log& log) { return formatNVMeValue(log.data_units_written, bytesPerDataUnit); }},
    {"HostReadCommands",
     {"Host Read Commands", number, ""},
     [](const Log& log) { return formatNVMeValue(log.host_reads); }},
    {"HostWriteCommands",
     {"Host Write Commands", number, ""},
     [](const Log& log) { return formatNVMeValue(log.host_writes); }},
    {"ControllerBusyTime",
     {"Controller Busy Time", time, ""},
     [](const Log& log) { return formatNVMeValue(log.ctrl_busy_time); }},
    {"PowerCycles", {"Power Cycles", string, ""}, [](const Log& log) { return formatNVMeValue(log.power_cycles); }},
    {"PowerOnHours", {"Power On Hours", time, ""}, [](const Log& log) { return formatNVMeValue(log.power_on_hours); }},
    {"UnsafeShutdowns",
     {"Unsafe Shutdowns", number, ""},
     [](const Log& log) { return formatNVMeValue(log.unsafe_shutdowns); }},
    {"MediaAndDataIntegrityErrors",
     {"Media and Data Integrity Errors", number, ""},
     [](const Log& log) { return formatNVMeValue(log.media_errors); }},
    {"ErrorInformationLogEntries",
     {"Error Information Log Entries", number, ""},
     [](const Log& log) { return formatNVMeValue(log.num_err_log_entries); }},
}};

struct Warning {
    std::int64_t mask;
    std::string_view text;
};

/// The conditions of the critical-warning byte in the order in which they are told.
constexpr Warning warnings[] = {
    {0x01, "The available spare space has fallen below the critical threshold"},
    {0x02, "The temperature is outside of operational threshold"},
    {0x04, "The NVM subsystem reliability has degraded due to significant media related errors"},
    {0x08, "The media has been placed in read only mode"},
    {0x10, "The volatile memory backup device has failed"},
};
constexpr std::int64_t unknownWarnings = ~std::int64_t{0x1F};

/// The number by the format "%.0f".
std::string wholeNumber(double value)
{
    std::array<char, 64> buffer; // 2^128 has 39 digits
    const auto result = std::to_chars(buffer.begin(), buffer.end(), value, std::chars_format::fixed, 0);
    return {buffer.begin(), result.ptr};
}

std::uint64_t half(const NVMeCounter& value, std::size_t first)
{
    std::uint64_t number = 0;
    for (std::size_t i = first + 8; i-- > first;)
        number = number << 8 | value[i];
    return number;
}

} // namespace

const std::map<std::string_view, NVMeSmartValueDefinition>& NVMeSmartValueDefinitions()
{
    static const auto definitions = [] {
        std::map<std::string_view, NVMeSmartValueDefinition> byKey;
        for (const Row& row : rows)
            byKey.emplace(row.key, row.definition);
        return byKey;
    }();
    return definitions;
}

NVMeSmartValue processSmartValue(std::string_view key, const NVMeSMARTLog& log)
{
    static constexpr NVMeSmartValueDefinition unknown = {"Unknown Attribute", string,
                                                         "This value has no recorded definition"};
    const auto row = std::ranges::find(rows, key, &Row::key);
    const NVMeSmartValueDefinition& definition = row == rows.end() ? unknown : row->definition;
    const bool failed = key == "CriticalWarning" && log.critical_warning != 0;
    return {
        .name = system::localized(definition.name),
        .formattedValue = row == rows.end() ? std::string() : row->text(log),
        .valueType = definition.type,
        .state = failed ? NVMeSmartAttributeState::failed : NVMeSmartAttributeState::ok,
        .info = system::localized(definition.info),
    };
}

std::string processWarningFlag(std::int64_t flag)
{
    for (const Warning& warning : warnings) {
        if ((flag & warning.mask) != 0)
            return std::string(warning.text);
    }
    const auto unknown = static_cast<std::uint64_t>(flag & unknownWarnings);
    if (unknown == 0)
        return "S.M.A.R.T Overall Health Result: Passed";
    std::array<char, 16> digits; // at least two of them: the lowest bit told is 0x20
    const auto result = std::to_chars(digits.begin(), digits.end(), unknown, 16);
    return "Unknown critical warning: 0x" + std::string(digits.begin(), result.ptr);
}

std::string formatNVMeValue(const NVMeCounter& value, std::uint64_t bytesPerUnit)
{
    return le128ToString(half(value, 8), half(value, 0), bytesPerUnit);
}

std::string le128ToString(std::uint64_t high, std::uint64_t low, std::uint64_t bytesPerUnit)
{
    if (high != 0)
        return '~' + wholeNumber(static_cast<double>(high) * 18446744073709551616.0 + static_cast<double>(low));
    if (low != 0 && bytesPerUnit != 0 && low < std::numeric_limits<std::uint64_t>::max() / bytesPerUnit) {
        constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
        return system::stringFromByteCount(static_cast<std::int64_t>(std::min(low * bytesPerUnit, largest)),
                                           system::ByteCountFormatterCountStyle::binary);
    }
    return system::localizedStringFromNumber(low, system::NumberFormatterStyle::decimal);
}

std::uint64_t le16ToUInt(const std::array<std::uint8_t, 2>& value)
{
    return std::uint64_t{value[1]} * 256 + value[0];
}

std::string kelvin(std::int64_t value)
{
    if (value <= 0)
        return "Not supported";
    return wholeNumber(static_cast<double>(value) - 273.15) + "\u00B0C";
}

} // namespace vantorel
