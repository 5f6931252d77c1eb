// SPDX-License-Identifier: GPL-2.0-or-later
#include "nvme/NvmeFormat.h"

#include "system/formatting/ByteCountFormatter.h"
#include "system/formatting/NumberFormatter.h"
#include "vantorel/system/Localization.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace vantorel {

namespace {

/// A data unit is a thousand blocks of 512 bytes.
constexpr std::uint64_t bytesPerDataUnit = 512000;

std::uint64_t half(const NvmeCounter& value, std::size_t first)
{
    std::uint64_t number = 0;
    for (std::size_t i = first + 8; i-- > first;)
        number = number << 8 | value[i];
    return number;
}

NvmeLogNumber asNumber(std::uint8_t field)
{
    return {.low = field};
}

NvmeLogNumber asNumber(const std::array<std::uint8_t, 2>& field)
{
    return {.low = le16ToUInt(field)};
}

NvmeLogNumber asNumber(const NvmeCounter& field)
{
    return {.high = half(field, 8), .low = half(field, 0)};
}

template <auto Field>
NvmeLogNumber numberOf(const NVMeSMARTLog& log)
{
    return asNumber(log.*Field);
}

std::string warning(const NvmeLogNumber& flags)
{
    return processWarningFlag(static_cast<std::int64_t>(flags.low));
}

std::string degrees(const NvmeLogNumber& temperature)
{
    return kelvin(static_cast<std::int64_t>(temperature.low));
}

std::string percent(const NvmeLogNumber& share)
{
    return std::to_string(share.low) + '%';
}

std::string dataUnits(const NvmeLogNumber& count)
{
    return le128ToString(count.high, count.low, bytesPerDataUnit);
}

std::string plain(const NvmeLogNumber& count)
{
    return le128ToString(count.high, count.low, 0);
}

struct Row {
    std::string_view key;
    NVMeSmartValueDefinition definition;
    NvmeLogNumber (*number)(const NVMeSMARTLog& log);
    std::string (*text)(const NvmeLogNumber& number);
};

using enum SmartValueType;
using Log = NVMeSMARTLog;

/// All that is told of a log, in its order.
constexpr std::array<Row, 15> rows = {{
    {"CriticalWarning", {"Critical Warning", string, ""}, numberOf<&Log::critical_warning>, warning},
    {"Temperature", {"Temperature", temperature, "Temperature of the drive"}, numberOf<&Log::temperature>, degrees},
    {"AvailableSpare", {"Available Spare", percentage, "Available "}, numberOf<&Log::avail_spare>, percent},
    {"AvailableSpareThreshold", {"Available Spare Threshold", percentage, ""}, numberOf<&Log::spare_thresh>, percent},
    {"PercentageUsed", {"Percentage Used", percentage, ""}, numberOf<&Log::percent_used>, percent},
    {"DataUnitsRead", {"Data Units Read", bytes, ""}, numberOf<&Log::data_units_read>, dataUnits},
    {"DataUnitsWritten", {"Data Units Written", bytes, ""}, numberOf<&Log::data_units_written>, dataUnits},
    {"HostReadCommands", {"Host Read Commands", number, ""}, numberOf<&Log::host_reads>, plain},
    {"HostWriteCommands", {"Host Write Commands", number, ""}, numberOf<&Log::host_writes>, plain},
    {"ControllerBusyTime", {"Controller Busy Time", time, ""}, numberOf<&Log::ctrl_busy_time>, plain},
    {"PowerCycles", {"Power Cycles", string, ""}, numberOf<&Log::power_cycles>, plain},
    {"PowerOnHours", {"Power On Hours", time, ""}, numberOf<&Log::power_on_hours>, plain},
    {"UnsafeShutdowns", {"Unsafe Shutdowns", number, ""}, numberOf<&Log::unsafe_shutdowns>, plain},
    {"MediaAndDataIntegrityErrors",
     {"Media and Data Integrity Errors", number, ""},
     numberOf<&Log::media_errors>,
     plain},
    {"ErrorInformationLogEntries",
     {"Error Information Log Entries", number, ""},
     numberOf<&Log::num_err_log_entries>,
     plain},
}};

constexpr auto keys = [] {
    std::array<std::string_view, rows.size()> all;
    std::ranges::transform(rows, all.begin(), &Row::key);
    return all;
}();

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

std::span<const std::string_view> nvmeLogKeys()
{
    return keys;
}

std::optional<NvmeLogNumber> nvmeLogNumber(std::string_view key, const NVMeSMARTLog& log)
{
    const auto row = std::ranges::find(rows, key, &Row::key);
    return row == rows.end() ? std::nullopt : std::optional(row->number(log));
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
        .formattedValue = row == rows.end() ? std::string() : row->text(row->number(log)),
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

std::string formatNVMeValue(const NvmeCounter& value, std::uint64_t bytesPerUnit)
{
    const NvmeLogNumber number = asNumber(value);
    return le128ToString(number.high, number.low, bytesPerUnit);
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
