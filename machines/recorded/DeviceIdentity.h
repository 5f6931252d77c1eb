// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/Machine.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vantorel::recorded {

/// What a listing tells of the device behind a whole disk. A text is empty when the listing does not tell it.
struct DeviceIdentity {
    std::string model;
    std::string serial;
    std::string firmware;
    std::optional<std::uint64_t> smartEntry;     ///< the entry that declares itself "SMART Capable"
    std::optional<std::uint64_t> nvmeSmartEntry; ///< the entry that declares itself "NVMe SMART Capable"
};

/// The devices of all whole disks of a listing, by device name such as "disk0".
[[nodiscard]] std::map<std::string, DeviceIdentity, std::less<>>
deviceIdentities(std::span<const system::RegistryEntry> entries);

} // namespace vantorel::recorded
