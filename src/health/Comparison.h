// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/health/Verdict.h"

#include <vector>

namespace vantorel::health {

/// Powered hours between two readings; absent when one tells none.
[[nodiscard]] std::optional<std::int64_t> hoursBetween(const std::vector<Attribute>& before,
                                                       const std::vector<Attribute>& now);

/// What changed from one reading of a drive to the next.
[[nodiscard]] Comparison compare(const std::vector<Attribute>& before, const std::vector<Attribute>& now);

/// A count that tells damage to drive, link or data when it grows.
[[nodiscard]] bool tellsDamage(Meaning meaning);

} // namespace vantorel::health
