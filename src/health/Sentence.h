// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "FailureRates.h"
#include "Observation.h"

#include <optional>
#include <string>
#include <string_view>

namespace vantorel::health {

/// Fills in the sentence of a rule, numbers in plain digits, the same in every locale. Placeholders:
///
///     {value} {limit} {name} {attribute} {detail}   of the observation
///     {value|sector|sectors}                        the value and the word for one or for several
///     {grew|time|times}                             the same for how much it has grown
///     {growth}                                      ", 3 more in 120 powered hours" or ", none in the last 120 powered
///                                                   hours"; empty without an earlier number, or when it fell
///     {since}                                       "in 120 powered hours" or "since the earlier reading"
///     {rates}                                       the failure rate of disks with such a value beside those with none
[[nodiscard]] std::string filledIn(std::string_view sentence, const Observation& observation,
                                   const std::optional<MeasuredRate>& rate = std::nullopt,
                                   std::optional<std::int64_t> hoursBetween = std::nullopt);

} // namespace vantorel::health
