// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <array>
#include <cstdint>

namespace vantorel::recorded {

/// The digest of FIPS 180-4, section 6.2.
[[nodiscard]] std::array<std::uint8_t, 32> sha256(DataView bytes);

} // namespace vantorel::recorded
