// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/health/TemperatureLimits.h"

#include "vantorel/base/Bytes.h"
#include "vantorel/layouts/Nvme.h"

#include <cstdint>

namespace vantorel::health {

namespace {

/// Of a controller, which writes 0 where it tells none.
std::optional<int> celsius(std::uint16_t kelvin)
{
    return kelvin == 0 ? std::nullopt : std::optional(kelvin - 273);
}

/// A limit that no drive could reach was not set.
std::optional<TemperatureLimits::Limit> ownLimit(std::optional<int> limit)
{
    constexpr int highest = 150;
    if (!limit || *limit <= 0 || *limit > highest)
        return std::nullopt;
    return TemperatureLimits::Limit{*limit, false};
}

} // namespace

TemperatureLimits temperatureLimits(const Reading& reading)
{
    const bool isNvme = reading.kind == Reading::Kind::nvme;
    std::optional<int> warning = reading.warningTemperature;
    std::optional<int> critical = reading.criticalTemperature;
    if (const auto controller = isNvme ? readRecord<NVMeControllerData>(reading.identify) : std::nullopt) {
        warning = warning ? warning : celsius(controller->wctemp);
        critical = critical ? critical : celsius(controller->cctemp);
    }
    TemperatureLimits limits{ownLimit(warning), ownLimit(critical)};
    const bool tellsCritical = limits.critical.has_value();
    if (!tellsCritical && isNvme)
        limits.critical = {85, true};
    if (!limits.warning && !tellsCritical)
        limits.warning = {isNvme ? 80 : reading.isSSD ? 70 : 60, true};
    return limits;
}

} // namespace vantorel::health
