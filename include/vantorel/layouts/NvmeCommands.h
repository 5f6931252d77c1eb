// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <cstdint>

/// The admin commands that NVMe controllers are sent (NVM Express Base Specification).
namespace VANTOREL_PUBLIC vantorel {
namespace nvmeadmin {

inline constexpr std::uint8_t getLogPage = 0x02;
inline constexpr std::uint8_t identify = 0x06;

inline constexpr std::uint32_t allNamespaces = 0xFFFFFFFF;

// The structures of Identify.
inline constexpr std::uint32_t namespaceStructure = 0;
inline constexpr std::uint32_t controllerStructure = 1;

// Log pages.
inline constexpr std::uint8_t errorLog = 1;
inline constexpr std::uint8_t healthLog = 2;
inline constexpr std::uint8_t firmwareSlotLog = 3;
inline constexpr std::uint8_t commandEffectsLog = 5;
inline constexpr std::uint8_t selfTestLog = 6;

} // namespace nvmeadmin
} // namespace vantorel
