// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/health/Attributes.h"

#include <optional>
#include <span>

namespace vantorel::host {

/// The value of the first attribute with this meaning and unit that a drive can have and whose meaning is not a guess;
/// absent when there is none.
[[nodiscard]] std::optional<health::TypedValue> sureValue(std::span<const health::Attribute> attributes,
                                                          health::Meaning meaning, health::Unit unit);

} // namespace vantorel::host
