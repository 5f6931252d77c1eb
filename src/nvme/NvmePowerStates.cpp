// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/nvme/NvmePowerStates.h"

#include "vantorel/base/Text.h"
#include "vantorel/system/Localization.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace vantorel {

namespace {

std::string identityText(std::span<const std::int8_t> field)
{
    const auto last = field.end() - 1; // the last byte is never part of the text
    const std::string bytes(field.begin(), std::find(field.begin(), last, 0));
    return base::isUtf8(bytes) ? std::string(base::trimmed(bytes)) : system::localized("Unknown");
}

std::string latency(std::uint32_t microseconds)
{
    return std::to_string(microseconds) + " \u03BCs";
}

} // namespace

NVMeDeviceInfo processControllerData(const NVMeControllerData& data)
{
    return {
        .model = identityText(data.mn),
        .serial = identityText(data.sn),
        .firmware = identityText(data.fr),
        .powerStates = processPowerStates(data),
    };
}

std::vector<NVMePowerState> processPowerStates(const NVMeControllerData& data)
{
    std::vector<NVMePowerState> states;
    for (const NVMePowerStateData& state : data.psd) {
        if (state.active_power == 0 && state.entry_lat == 0 && state.exit_lat == 0)
            continue;
        states.push_back({
            .maxPower = formatWatts(state.max_power / 100.0),
            .activePower = formatWatts(state.active_power / 100.0),
            .readThroughput = std::to_string(state.read_tput),
            .readLatency = latency(state.read_lat),
            .writeThroughput = std::to_string(state.write_tput),
            .writeLatency = latency(state.write_lat),
            .entryLatency = latency(state.entry_lat),
            .exitLatency = latency(state.exit_lat),
        });
    }
    return states;
}

std::string formatWatts(double watts)
{
    return watts < 1.0 ? base::shortestDecimal(watts * 1000.0) + "mW" : base::shortestDecimal(watts) + 'W';
}

} // namespace vantorel
