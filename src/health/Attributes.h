// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/health/Attributes.h"

namespace vantorel::health {

/// `attributesOf` for one kind of reading; numbers are plausible each by itself.
[[nodiscard]] std::vector<Attribute> ataAttributesOf(const Reading& reading);
[[nodiscard]] std::vector<Attribute> nvmeAttributesOf(const Reading& reading);

/// Marks the numbers that contradict each other: more bytes moved than the hours allow, more unsafe shutdowns than
/// power cycles.
void doubtContradictions(std::vector<Attribute>& attributes, const Reading& reading);

} // namespace vantorel::health
