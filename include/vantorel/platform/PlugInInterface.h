// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/platform/InterfaceReference.h"
#include "vantorel/system/IORegistry.h"
#include "vantorel/system/PlugIn.h"

#include <cstdint>
#include <optional>

namespace VANTOREL_PUBLIC vantorel {

/// The base interface of a plug-in, as `IOCreatePlugInInterfaceForService` hands it out.
class PlugInInterface : public InterfaceReference<IOCFPlugInInterfaceStruct> {
public:
    /// Adds a reference to the interface; the handle stays the caller's to destroy. Absent, and nothing is called, when
    /// the handle or the table that it points to is null.
    [[nodiscard]] static std::optional<PlugInInterface> create(Handle plugInInterface)
    {
        if (!plugInInterface || !*plugInInterface)
            return std::nullopt;
        return PlugInInterface(plugInInterface);
    }

    std::int32_t stop() const { return call(&IOCFPlugInInterfaceStruct::Stop); }
    std::int32_t start(const PropertyTable& propertyTable, system::io_service_t service) const
    {
        return call(&IOCFPlugInInterfaceStruct::Start, &propertyTable, service);
    }
    /// `order` goes in and comes out: how well the plug-in fits the service.
    std::int32_t probe(const PropertyTable& propertyTable, system::io_service_t service, std::int32_t& order) const
    {
        return call(&IOCFPlugInInterfaceStruct::Probe, &propertyTable, service, &order);
    }
    /// Puts the handle of the interface with this id, and with it a reference, where `ppv` points.
    std::int32_t QueryInterface(CFUUIDBytes iid, void** ppv) const
    {
        return call(&IOCFPlugInInterfaceStruct::QueryInterface, iid, ppv);
    }

private:
    using InterfaceReference::InterfaceReference;
};

} // namespace vantorel
