// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/base/RawValue.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {

/// What happened to a disk.
enum class DiskEvent : std::uint8_t { appeared, disappeared, updated };

template <>
inline constexpr std::array<std::string_view, 3> rawTexts<DiskEvent> = {"appeared", "disappeared", "updated"};

} // namespace vantorel
