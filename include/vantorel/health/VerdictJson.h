// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/health/Verdict.h"

#include <span>
#include <string>

/// The JSON form of verdicts and typed values, on one line; docs/json.md tells the keys. Numbers are JSON numbers with
/// all their digits, in every locale; those of NVMe counters may pass 2^64. Absent values are left out.
namespace VANTOREL_PUBLIC vantorel {
namespace health {

[[nodiscard]] std::string toJson(const TypedValue& value);

/// An array of objects.
[[nodiscard]] std::string toJson(std::span<const Attribute> attributes);

[[nodiscard]] std::string toJson(const Comparison& comparison);

[[nodiscard]] std::string toJson(const Verdict& verdict);

} // namespace health
} // namespace vantorel
