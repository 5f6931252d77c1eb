// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Observation.h"

#include <optional>

namespace vantorel::health {

/// Why the bytes of a reading are no base for a verdict; nothing when they are. Every sector of one repeated byte has a
/// right checksum, so what a sector holds is looked at, not its sum.
[[nodiscard]] std::optional<Observation> faultOf(const Reading& reading);

/// Whether the sum of a sector's 512 bytes is 0 modulo 256, as ATA8-ACS has it. A sector that is not there is.
[[nodiscard]] bool sumIsRight(DataView sector);

/// Whether the thresholds sector is that of other attributes than the data sector's: fewer than half of its numbers
/// occur there. Not so for one without any.
[[nodiscard]] bool thresholdsAreForeign(const Reading& reading);

} // namespace vantorel::health
