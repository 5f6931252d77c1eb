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

/// One power state, all of it as texts for a reader.
struct NVMePowerState {
    std::string maxPower;       ///< with "mW" or "W"
    std::string activePower;    ///< with "mW" or "W"
    std::string readThroughput; ///< relative rank, 0 is best
    std::string readLatency;
    std::string writeThroughput; ///< relative rank, 0 is best
    std::string writeLatency;
    std::string entryLatency;
    std::string exitLatency;

    bool operator==(const NVMePowerState&) const = default;
};

/// The identity of an NVMe drive.
struct NVMeDeviceInfo {
    std::string model;
    std::string serial;
    std::string firmware;
    std::vector<NVMePowerState> powerStates;

    bool operator==(const NVMeDeviceInfo&) const = default;
};

/// One formatted value of the NVMe health log.
struct NVMeSmartValue {
    std::string name;
    std::string formattedValue;
    SmartValueType valueType = SmartValueType::number;
    NVMeSmartAttributeState state = NVMeSmartAttributeState::ok;
    std::string info; ///< explanation for a reader, may be empty

    bool operator==(const NVMeSmartValue&) const = default;
};

/// One entry of the NVMe error log.
struct NVMeSmartError {
    std::uint64_t count = 0;  ///< running number of the error
    std::uint16_t sqID = 0;   ///< submission queue
    std::uint16_t cmdID = 0;  ///< command
    std::uint16_t status = 0; ///< status field of the completion

    bool operator==(const NVMeSmartError&) const = default;
};

/// One processed NVMe result. A plain value, owned by whoever holds it.
struct NVMeSmartObject {
    NVMeDeviceInfo deviceInfo;
    std::vector<NVMeSmartValue> smartValues;
    std::uint64_t health = 0; ///< a whole percentage, 0 to 100
    std::string assessment;   ///< the first critical warning that is set, in words
    NVMeSmartAttributeState status = NVMeSmartAttributeState::ok;
    std::optional<NVMeSmartValue> temperature; ///< a copy of one element of `smartValues`
    Data rawData;                              ///< the health log of a live read; empty for an exported log
    std::optional<Data> rawThresholds;         ///< always absent: NVMe has no thresholds sector

    bool operator==(const NVMeSmartObject&) const = default;
};

} // namespace vantorel
