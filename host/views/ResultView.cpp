// SPDX-License-Identifier: GPL-2.0-or-later
#include "ResultView.h"

#include "VerdictView.h"
#include "host/console/Text.h"
#include "vantorel/base/Text.h"

#include <fmt/format.h>

namespace vantorel::host {

namespace {

// A line that the verdict names is marked in its first column too, for readers without colour.
constexpr const char* mark = "!";

std::string familyText(const KnownDrive& known)
{
    if (!known.row)
        return factText("Family", "not in the drive tables");
    const std::string family = known.row->modelfamily.empty() ? "(unnamed)" : std::string(known.row->modelfamily);
    return factText("Family", fmt::format("{} (table {}, row {})", family, known.table->name, known.rowIndex)) +
           factText("Warning", base::replacingAll(known.row->warningmsg, "\n", " "));
}

std::string headText(const health::JudgedReading& judged)
{
    return judged.reading.result.visit([&](const auto& result) {
        const auto& info = result.deviceInfo;
        return emphasised(printable(info.model.empty() ? "Unnamed drive" : info.model), Emphasis::strong) + '\n' +
               verdictText(judged.verdict) + factText("Serial", base::trimmed(info.serial)) +
               factText("Firmware", base::trimmed(info.firmware)) + (judged.known ? familyText(*judged.known) : "") +
               factText("Age", ageText(judged.verdict)) + factText("Temperature", temperatureText(judged.verdict));
    });
}

std::string ataText(const ATASmartObject& result, const health::Verdict& verdict)
{
    Table table({{""},
                 {"ID", Table::Align::right},
                 {"Attribute", Table::Align::left, true},
                 {"Value"},
                 {"Current", Table::Align::right},
                 {"Worst", Table::Align::right},
                 {"Threshold", Table::Align::right},
                 {"Type"},
                 {"State"}});
    for (const ATASmartValue& value : result.smartValues) {
        const health::Level level = levelOf(verdict, value.id);
        table.add({level == health::Level::good ? "" : mark, std::to_string(value.id), printable(value.name),
                   printable(value.formattedValue), std::to_string(value.current), std::to_string(value.worst),
                   std::to_string(value.theshold), std::string(rawValue(value.type)),
                   std::string(rawValue(value.state))},
                  emphasisOf(level));
    }
    return table.text();
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
    Table table({{"Value"}, {"", Table::Align::right}});
    for (const NVMeSmartValue& value : result.smartValues)
        table.add({printable(value.name), printable(value.formattedValue)});
    return table.text() + powerStates(result.deviceInfo.powerStates);
}

} // namespace

std::string resultText(const health::JudgedReading& judged)
{
    const SmartObject& result = judged.reading.result;
    const auto* const ata = result.as<ATASmartObject>();
    return headText(judged) + '\n' + (ata ? ataText(*ata, judged.verdict) : nvmeText(*result.as<NVMeSmartObject>()));
}

} // namespace vantorel::host
