// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/layouts/PlugInTables.h"
#include "vantorel/system/IOReturn.h"

#include <cstdint>
#include <utility>

namespace VANTOREL_PUBLIC vantorel {

/// What the wrappers of the plug-in interfaces share: one reference on an interface, added when the wrapper is made
/// and given back when it goes. It may be moved; a wrapper that was moved from is only to be destroyed.
///
/// Every operation calls the table's slot of its name and gives the slot's status unchanged; a slot that the plug-in
/// left empty gives `kIOReturnUnsupported`. A wrapper is used by the thread that made it, for one reading.
template <typename Table>
class InterfaceReference {
public:
    /// The place that holds the address of the interface's table.
    using Handle = const Table**;

    InterfaceReference(InterfaceReference&& other) noexcept
        : interfaceStruct_(std::exchange(other.interfaceStruct_, nullptr))
    {}
    InterfaceReference& operator=(InterfaceReference&& other) noexcept
    {
        std::swap(interfaceStruct_, other.interfaceStruct_);
        return *this;
    }
    ~InterfaceReference()
    {
        if (interfaceStruct_ && *interfaceStruct_ && (*interfaceStruct_)->Release)
            (*interfaceStruct_)->Release(interfaceStruct_);
    }

    [[nodiscard]] std::uint16_t version() const { return unwrappedInterface().version; }
    [[nodiscard]] std::uint16_t revision() const { return unwrappedInterface().revision; }

protected:
    /// `handle` can be used.
    explicit InterfaceReference(Handle handle) : interfaceStruct_(handle)
    {
        if ((*handle)->AddRef)
            (*handle)->AddRef(handle);
    }

    /// Calls the slot, such as `&IOATASMARTInterface::SMARTReadData`.
    template <typename... Parameters, typename... Arguments>
    std::int32_t call(std::int32_t (*Table::*slot)(void*, Parameters...), Arguments... arguments) const
    {
        const auto function = unwrappedInterface().*slot;
        return function ? function(interfaceStruct_, arguments...) : system::kIOReturnUnsupported;
    }

private:
    [[nodiscard]] Table unwrappedInterface() const { return **interfaceStruct_; }

    Handle interfaceStruct_;
};

} // namespace vantorel
