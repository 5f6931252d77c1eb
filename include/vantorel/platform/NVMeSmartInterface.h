// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/platform/InterfaceReference.h"

#include <cstdint>
#include <optional>

namespace VANTOREL_PUBLIC vantorel {

/// The NVMe SMART interface of a plug-in. Buffers are the caller's; each call blocks until the controller has answered.
class NVMeSmartInterface : public InterfaceReference<IONVMeSMARTInterface> {
public:
    /// Adds a reference to the interface. Absent, with a message and nothing called, when the handle or the table that
    /// it points to is null.
    [[nodiscard]] static std::optional<NVMeSmartInterface> create(Handle interface);

    std::int32_t GetFieldCounters(std::int8_t* counters) const
    {
        return call(&IONVMeSMARTInterface::GetFieldCounters, counters);
    }
    std::int32_t ScheduleBGRefresh() const { return call(&IONVMeSMARTInterface::ScheduleBGRefresh); }
    std::int32_t GetSystemCounters(std::int8_t* counters, std::uint32_t* something) const
    {
        return call(&IONVMeSMARTInterface::GetSystemCounters, counters, something);
    }
    std::int32_t GetAlgorithmCounters(std::int8_t* counters, std::uint32_t* something) const
    {
        return call(&IONVMeSMARTInterface::GetAlgorithmCounters, counters, something);
    }
    /// The SMART / Health Information log.
    std::int32_t SMARTReadData(NVMeSMARTLog* data) const { return call(&IONVMeSMARTInterface::SMARTReadData, data); }
    /// The Identify Controller data, with `something` 0.
    std::int32_t GetIdentifyData(NVMeControllerData* controller, std::uint32_t something) const
    {
        return call(&IONVMeSMARTInterface::GetIdentifyData, controller, something);
    }
    /// The first `lenght` bytes of a log page; a multiple of 4 that `buffer` has room for.
    std::int32_t GetLogPage(NVMeErrorLogPage* buffer, std::uint32_t logID, std::uint32_t lenght) const
    {
        return call(&IONVMeSMARTInterface::GetLogPage, buffer, logID, lenght);
    }
    std::int32_t queryInterface(CFUUIDBytes iid, void** ppv) const
    {
        return call(&IONVMeSMARTInterface::QueryInterface, iid, ppv);
    }

private:
    using InterfaceReference::InterfaceReference;
};

} // namespace vantorel
