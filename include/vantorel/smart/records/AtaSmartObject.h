// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"
#include "vantorel/smart/records/SmartEnumerations.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

/// The identity of an ATA drive. Offline results know the model alone; the other two are then empty.
struct ATADeviceInfo {
    std::string model;
    std::string serial;
    std::string firmware;

    bool operator==(const ATADeviceInfo&) const = default;
};

/// One processed ATA attribute.
struct ATASmartValue {
    std::uint8_t id = 0;        ///< attribute number, 1 to 255
    std::string name;           ///< display name
    std::string formattedValue; ///< the raw value as a person reads it
    std::uint8_t current = 0;   ///< normalised value
    std::uint8_t worst = 0;     ///< worst normalised value
    std::uint8_t theshold = 0;  ///< failure threshold from the same slot of the thresholds sector
    SmartAttributeType type = SmartAttributeType::preFail;
    ATASmartAttributeState state = ATASmartAttributeState::nonExisting;
    SmartValueType valueType = SmartValueType::number;
    std::string info; ///< explanation for a reader, may be empty

    bool operator==(const ATASmartValue&) const = default;
};

/// One processed ATA result. A plain value, owned by whoever holds it.
struct ATASmartObject {
    ATADeviceInfo deviceInfo;
    std::vector<ATASmartValue> smartValues; ///< in the order in which the drive lists its attributes
    std::uint64_t health = 0;               ///< a whole percentage, 0 to 100
    std::string assessment;
    ATASmartAttributeState status = ATASmartAttributeState::nonExisting;
    std::optional<ATASmartValue> temperature; ///< a copy of one element of `smartValues`
    Data rawData;                             ///< the SMART data sector
    std::optional<Data> rawThresholds;        ///< the thresholds sector

    bool operator==(const ATASmartObject&) const = default;
};

} // namespace vantorel
