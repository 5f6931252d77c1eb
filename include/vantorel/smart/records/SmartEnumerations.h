// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/base/RawValue.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {

/// Whether an ATA attribute announces a failure or tells age and use.
enum class SmartAttributeType : std::uint8_t { preFail, oldAge };

template <>
inline constexpr std::array<std::string_view, 2> rawTexts<SmartAttributeType> = {"preFail", "oldAge"};

/// The kind of quantity that a formatted value shows.
enum class SmartValueType : std::uint8_t { number, string, bytes, time, temperature, percentage };

template <>
inline constexpr std::array<std::string_view, 6> rawTexts<SmartValueType> = {"number", "string",      "bytes",
                                                                             "time",   "temperature", "percentage"};

/// The judgement of an ATA attribute.
enum class ATASmartAttributeState : std::uint8_t {
    nonExisting,   ///< never assigned by the library, may come through JSON; counts as good
    noNormalValue, ///< never assigned by the library, may come through JSON; counts as good
    noThreshold,   ///< the thresholds sector holds another attribute in this attribute's slot
    ok,            ///< above its threshold
    failedInPast,  ///< the worst value has reached the threshold
    failedNow,     ///< the current value has reached the threshold
};

template <>
inline constexpr std::array<std::string_view, 6> rawTexts<ATASmartAttributeState> = {
    "nonExisting", "noNormalValue", "noThreshold", "ok", "failedInPast", "failedNow"};

/// How bad a judgement is: 0 for a good one, 1 for a failure that is over, 2 for one that lasts.
[[nodiscard]] constexpr int severityOf(ATASmartAttributeState state)
{
    using enum ATASmartAttributeState;
    return state == failedNow ? 2 : state == failedInPast ? 1 : 0;
}

/// The judgement of an NVMe value or of a whole log. `warning` is never assigned by the library.
enum class NVMeSmartAttributeState : std::uint8_t { ok, warning, failed };

template <>
inline constexpr std::array<std::string_view, 3> rawTexts<NVMeSmartAttributeState> = {"ok", "warning", "failed"};

/// How bad a judgement is: 0 for a good one, 1 for a warning, 2 for a failure.
[[nodiscard]] constexpr int severityOf(NVMeSmartAttributeState state)
{
    return static_cast<int>(state);
}

/// Whether a value was judged to be anything but good.
template <class State>
[[nodiscard]] constexpr bool hasFailed(State state)
{
    return severityOf(state) > 0;
}

} // namespace vantorel
