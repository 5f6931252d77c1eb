// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <cstdint>
#include <optional>

namespace vantorel::channels {

/// The registers of an ATA drive as a command left them.
struct AtaRegisters {
    std::uint8_t status = 0;
    std::uint8_t error = 0;
    std::uint8_t count = 0;
    std::uint32_t lba = 0; ///< 24 bits
};

/// What a SCSI target says of a command that ended with CHECK CONDITION (SPC-4, sense data).
struct SenseData {
    std::uint8_t key = 0;
    std::uint8_t code = 0;      ///< additional sense code
    std::uint8_t qualifier = 0; ///< additional sense code qualifier
    bool isDeferred = false;    ///< it is about an earlier command, and this one was not carried out
    std::optional<AtaRegisters> registers;
};

/// Reads sense data of either form, descriptor or fixed, with the registers that SAT-3 puts into them. Absent when the
/// bytes are of neither; what lies behind their end counts as not told.
[[nodiscard]] std::optional<SenseData> readSense(DataView bytes);

} // namespace vantorel::channels
