// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "host/files/ReportFile.h"
#include "vantorel/base/RawValue.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantorel::host {

/// How a drive of a report stands: as its verdict says, or why there is none.
enum class Standing : std::uint8_t { failing, atRisk, watch, unknown, good, notRead, asleep, withoutSmart };

inline constexpr std::size_t standings = 8;

/// Whether a verdict stands behind it.
[[nodiscard]] constexpr bool isJudged(Standing standing)
{
    return standing < Standing::notRead;
}

/// One drive of one report, as far as a fleet counts it. A text is empty when it is not known.
struct FleetDrive {
    std::string model;
    std::string firmware;
    std::string kind; ///< "ssd", "hdd" or "unknown"
    std::string serial;
    std::string report; ///< path
    std::string device;
    std::optional<std::int64_t> created; ///< of the report, in seconds since 1970 in UTC
    Standing standing = Standing::notRead;
    std::string why; ///< the leading reason of a level that is not good, or why the drive was not read
    std::optional<std::int64_t> hours; ///< powered on
};

[[nodiscard]] FleetDrive fleetDrive(const ReportFile& report, const ReportedDrive& drive);

/// The line of a drive in the form for engines, docs/json.md: one flat JSON object and a line end.
[[nodiscard]] std::string fleetLine(const ReportFile& report, const ReportedDrive& drive);

/// A time as reports have it, "2026-01-31T23:59:59Z", in seconds since 1970; absent for any other text.
[[nodiscard]] std::optional<std::int64_t> secondsOf(std::string_view utc);

} // namespace vantorel::host

template <>
inline constexpr std::array<std::string_view, vantorel::host::standings> vantorel::rawTexts<vantorel::host::Standing> =
    {"failing", "atRisk", "watch", "unknown", "good", "notRead", "asleep", "withoutSmart"};
