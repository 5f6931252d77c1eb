// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace vantorel::host {

/// A status field of an NVMe completion in words; it has the phase bit lowest, then 8 bits of code and 3 of its type.
[[nodiscard]] std::string nvmeStatusText(std::uint16_t field);

} // namespace vantorel::host
