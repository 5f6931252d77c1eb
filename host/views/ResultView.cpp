// SPDX-License-Identifier: GPL-2.0-or-later
#include "ResultView.h"

#include "host/console/Status.h"
#include "host/console/Text.h"
#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Text.h"

#include <fmt/format.h>

namespace vantorel::host {

namespace {

std::string fact(std::string_view name, std::string_view value, Emphasis emphasis = Emphasis::none)
{
    return fmt::format("{:<12}{}\n", name, emphasised(printable(base::trimmed(value)), emphasis));
}

std::string optionalFact(std::string_view name, std::string_view value)
{
    return value.empty() ? std::string() : fact(name, value);
}

template <typename DeviceInfo>
std::string identity(const DeviceInfo& info)
{
    return emphasised(printable(info.model.empty() ? "Unnamed drive" : info.model), Emphasis::strong) + '\n' +
           optionalFact("Serial", info.serial) + optionalFact("Firmware", info.firmware);
}

template <typename Object>
std::string judgement(const Object& result, Emphasis emphasis)
{
    return fact("Health", fmt::format("{} %", result.health),
                result.health < 100 ? Emphasis::warning : Emphasis::none) +
           fact("Status", rawValue(result.status), emphasis) + fact("Assessment", result.assessment, emphasis) +
           fact("Temperature", result.temperature ? result.temperature->formattedValue : "-");
}

// A failing line is marked in its first column too, for readers without colour.
constexpr const char* mark = "!";

std::string family(const ATADeviceInfo& info)
{
    const drive_settings* const row = knownDrive(info).row;
    if (!row)
        return fact("Family", "not in the drive table");
    std::string text = fact("Family", row->modelfamily.empty() ? "(unnamed)" : row->modelfamily);
    std::string_view rest = row->warningmsg;
    for (std::string_view name = "Warning"; !rest.empty(); name = "") {
        const auto end = std::min(rest.find('\n'), rest.size());
        text += fact(name, rest.substr(0, end), Emphasis::warning);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return text;
}

std::string ataText(const ATASmartObject& result)
{
    Table table({{""},
                 {"ID", Table::Align::right},
                 {"Attribute"},
                 {"Value"},
                 {"Current", Table::Align::right},
                 {"Worst", Table::Align::right},
                 {"Threshold", Table::Align::right},
                 {"Type"},
                 {"State"}});
    for (const ATASmartValue& value : result.smartValues) {
        const bool now = value.state == ATASmartAttributeState::failedNow;
        table.add({hasFailed(value.state) ? mark : "", std::to_string(value.id), printable(value.name),
                   printable(value.formattedValue), std::to_string(value.current), std::to_string(value.worst),
                   std::to_string(value.theshold), std::string(rawValue(value.type)),
                   std::string(rawValue(value.state))},
                  now                      ? Emphasis::bad
                  : hasFailed(value.state) ? Emphasis::warning
                                           : Emphasis::none);
    }
    const auto failing =
        std::ranges::count_if(result.smartValues, hasFailed<ATASmartAttributeState>, &ATASmartValue::state);
    return identity(result.deviceInfo) + family(result.deviceInfo) + judgement(result, Emphasis::none) +
           fact("Attributes", fmt::format("{}, of them failed: {}", result.smartValues.size(), failing),
                failing > 0 ? Emphasis::bad : Emphasis::none) +
           '\n' + table.text();
}

std::string powerStates(const std::vector<NVMePowerState>& states)
{
    if (states.empty())
        return {};
    const auto right = Table::Align::right;
    Table table({{"Max power", right},
                 {"Active", right},
                 {"Read rank", right},
                 {"Read latency", right},
                 {"Write rank", right},
                 {"Write latency", right},
                 {"Entry", right},
                 {"Exit", right}});
    for (const NVMePowerState& state : states)
        table.add({state.maxPower, state.activePower, state.readThroughput, state.readLatency, state.writeThroughput,
                   state.writeLatency, state.entryLatency, state.exitLatency});
    return "\nPower states\n" + table.text();
}

std::string nvmeText(const NVMeSmartObject& result)
{
    Table table({{""}, {"Value"}, {"", Table::Align::right}, {"State"}});
    for (const NVMeSmartValue& value : result.smartValues) {
        const bool bad = hasFailed(value.state);
        table.add({bad ? mark : "", printable(value.name), printable(value.formattedValue),
                   std::string(rawValue(value.state))},
                  bad ? Emphasis::bad : Emphasis::none);
    }
    const bool failed = hasFailed(result.status);
    return identity(result.deviceInfo) + judgement(result, failed ? Emphasis::bad : Emphasis::good) + '\n' +
           table.text() + powerStates(result.deviceInfo.powerStates);
}

} // namespace

std::string resultText(const SmartObject& result)
{
    if (const auto* ata = result.as<ATASmartObject>())
        return ataText(*ata);
    return nvmeText(*result.as<NVMeSmartObject>());
}

int statusOf(const SmartObject& result)
{
    if (const auto* nvme = result.as<NVMeSmartObject>())
        return hasFailed(nvme->status) ? driveFailing : success;
    int status = success;
    for (const ATASmartValue& value : result.as<ATASmartObject>()->smartValues) {
        const bool now = value.state == ATASmartAttributeState::failedNow;
        if (now && value.type == SmartAttributeType::preFail)
            status |= driveFailing | preFailReached;
        else if (hasFailed(value.state))
            status |= attributeReached;
    }
    return status;
}

} // namespace vantorel::host
