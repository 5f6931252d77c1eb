// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

namespace vantorel {

/// What happened to a disk.
enum class DiskEvent : std::uint8_t { appeared, disappeared, updated };

} // namespace vantorel
