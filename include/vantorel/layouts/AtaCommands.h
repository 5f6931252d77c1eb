// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <cstddef>
#include <cstdint>

/// The commands that ATA drives are sent, and the parts of SMART (ATA8-ACS).
namespace VANTOREL_PUBLIC vantorel {
namespace acs {

inline constexpr std::uint8_t smart = 0xB0;
inline constexpr std::uint8_t checkPowerMode = 0xE5;
inline constexpr std::uint8_t identifyDevice = 0xEC;

// The feature register of SMART.
inline constexpr std::uint8_t smartReadData = 0xD0;
inline constexpr std::uint8_t smartReadThresholds = 0xD1;
inline constexpr std::uint8_t smartAutosave = 0xD2;
inline constexpr std::uint8_t smartOffLine = 0xD4;
inline constexpr std::uint8_t smartReadLog = 0xD5;
inline constexpr std::uint8_t smartWriteLog = 0xD6;
inline constexpr std::uint8_t smartEnable = 0xD8;
inline constexpr std::uint8_t smartDisable = 0xD9;
inline constexpr std::uint8_t smartReturnStatus = 0xDA;

// SMART commands carry the key in the middle and high bytes of the address; a drive with an attribute at its threshold
// answers RETURN STATUS with the other.
inline constexpr std::uint32_t smartKey = 0xC24F00;
inline constexpr std::uint32_t smartExceeded = 0x2CF400;
inline constexpr std::uint32_t smartKeyMask = 0xFFFF00;

// Log addresses.
inline constexpr std::uint8_t smartErrorLog = 1;
inline constexpr std::uint8_t smartSelfTestLog = 6;

inline constexpr std::size_t sectorSize = 512;

} // namespace acs
} // namespace vantorel
