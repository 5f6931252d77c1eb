// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/layouts/AtaSmart.h"
#include "vantorel/platform/SmartInterface.h"
#include "vantorel/smart/records/AtaSmartObject.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace vantorel {
class Drive;
} // namespace vantorel

namespace vantorel::ata {

/// The identity that an ATA result carries: what the registry knows of a drive, "Unknown" for a model that it does not.
[[nodiscard]] ATADeviceInfo deviceInfo(const std::optional<std::string>& model,
                                       const std::optional<std::string>& serial,
                                       const std::optional<std::string>& revision);

/// The same of a drive object.
[[nodiscard]] ATADeviceInfo getDeviceInfo(const Drive& drive);

/// Switches SMART and the saving of attributes on, and fills both sectors, each tested by its sum. Throws `SmartError`
/// at the first step that fails; the later ones are not made. Neither switch is set back.
void getSmartValues(const SmartInterface& interface, ATASMARTData& smartData, ATASMARTDataThresholds& thresholds);

/// Whether IDENTIFY data, as words, carry their integrity word and sum up to it (ATA8-ACS, word 255).
[[nodiscard]] bool verifyIdentifyData(std::span<const std::uint16_t, 256> buffer);

/// Whether the drive itself says that it is failing; absent when it does not answer.
[[nodiscard]] std::optional<bool> isFailing(const SmartInterface& smartInterface);

} // namespace vantorel::ata
