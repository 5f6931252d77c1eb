// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Bytes.h"

#include <cstdint>
#include <cstring>

/// Little-endian numbers from anywhere in memory.
namespace vantorel::system::compression {

[[nodiscard]] inline std::uint16_t load16(const std::uint8_t* from)
{
    le16 value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

[[nodiscard]] inline std::uint32_t load32(const std::uint8_t* from)
{
    le32 value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

[[nodiscard]] inline std::uint64_t load64(const std::uint8_t* from)
{
    le64 value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

} // namespace vantorel::system::compression
