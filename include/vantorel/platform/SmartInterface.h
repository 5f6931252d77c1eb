// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/platform/InterfaceReference.h"

#include <cstdint>
#include <optional>

namespace VANTOREL_PUBLIC vantorel {

/// The ATA SMART interface of a plug-in. Buffers are the caller's; each call blocks until the drive has answered.
class SmartInterface : public InterfaceReference<IOATASMARTInterface> {
public:
    /// Adds a reference to the interface. Absent, with a message and nothing called, when the handle or the table that
    /// it points to is null.
    [[nodiscard]] static std::optional<SmartInterface> create(Handle interface);

    /// Whether the drive says that one of its attributes has reached its threshold.
    std::int32_t SMARTReturnStatus(PlugInBoolean* conditionExceeded) const
    {
        return call(&IOATASMARTInterface::SMARTReturnStatus, conditionExceeded);
    }
    std::int32_t SMARTEnableDisableOperations(bool enable) const
    {
        return call(&IOATASMARTInterface::SMARTEnableDisableOperations, enable);
    }
    /// Starts the short or the extended self-test, which runs beside everything else.
    std::int32_t SMARTExecuteOffLineImmediate(bool extended) const
    {
        return call(&IOATASMARTInterface::SMARTExecuteOffLineImmediate, extended);
    }
    /// IDENTIFY DEVICE as words of the machine's own byte order, the first `inSize` bytes of it. `outSize` may be null.
    std::int32_t GetATAIdentifyData(ATAIdentifyData* buffer, std::uint32_t inSize, std::uint32_t* outSize) const
    {
        return call(&IOATASMARTInterface::GetATAIdentifyData, buffer, inSize, outSize);
    }
    std::int32_t SMARTEnableDisableAutosave(bool enable) const
    {
        return call(&IOATASMARTInterface::SMARTEnableDisableAutosave, enable);
    }
    std::int32_t SMARTReadData(ATASMARTData* data) const { return call(&IOATASMARTInterface::SMARTReadData, data); }
    /// Whether the sum of the sector's bytes is right, in the status.
    std::int32_t SMARTValidateReadData(const ATASMARTData* data) const
    {
        return call(&IOATASMARTInterface::SMARTValidateReadData, data);
    }
    std::int32_t SMARTReadDataThresholds(ATASMARTDataThresholds* thresholds) const
    {
        return call(&IOATASMARTInterface::SMARTReadDataThresholds, thresholds);
    }
    std::int32_t SMARTReadLogDirectory(ATASMARTLogDirectory* logData) const
    {
        return call(&IOATASMARTInterface::SMARTReadLogDirectory, logData);
    }
    /// `logOffset` is the address of the log, `size` its length in bytes: whole sectors of 512.
    std::int32_t SMARTReadLogAtAddress(std::uint32_t logOffset, void* buffer, std::uint32_t size) const
    {
        return call(&IOATASMARTInterface::SMARTReadLogAtAddress, logOffset, buffer, size);
    }
    std::int32_t queryInterface(CFUUIDBytes iid, void** ppv) const
    {
        return call(&IOATASMARTInterface::QueryInterface, iid, ppv);
    }

private:
    using InterfaceReference::InterfaceReference;
};

} // namespace vantorel
