// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Uuid.h"
#include "vantorel/platform/PlugInInterface.h"
#include "vantorel/smart/records/SmartError.h"
#include "vantorel/system/PlugIn.h"

#include <optional>

namespace vantorel {

/// One reading's hold on a plug-in: its base interface and the one for commands, a `SmartInterface` or an
/// `NVMeSmartInterface`. At its end, and where its construction fails, it lets the interface for commands go, destroys
/// the plug-in and lets the base interface go last.
template <typename Interface>
class PlugInSession {
public:
    /// Takes over the handle and asks for the interface with this id. Throws `SmartOpenError`; a handle that cannot be
    /// used is left alone.
    PlugInSession(system::PlugInHandle handle, const base::Uuid& interfaceId)
        : plugIn_(PlugInInterface::create(handle)), end_(plugIn_ ? handle : nullptr)
    {
        if (!plugIn_)
            throw SmartOpenError("Unable to access plugin interface.");
        // The reference that the query adds ends with the plug-in.
        void* interface = nullptr;
        if (plugIn_->QueryInterface(system::CFUUIDGetUUIDBytes(interfaceId), &interface) != system::kIOReturnSuccess)
            throw SmartOpenError("Unable to query plugin interface.");
        interface_ = Interface::create(static_cast<typename Interface::Handle>(interface));
        if (!interface_)
            throw SmartOpenError("Unable to create S.M.A.R.T interface.");
    }

    [[nodiscard]] const Interface& interface() const { return *interface_; }

private:
    /// Destroys the plug-in at its end.
    class Destruction {
    public:
        explicit Destruction(system::PlugInHandle handle) : handle_(handle) {}
        Destruction(const Destruction&) = delete;
        Destruction& operator=(const Destruction&) = delete;
        ~Destruction()
        {
            if (handle_)
                system::IODestroyPlugInInterface(handle_);
        }

    private:
        system::PlugInHandle handle_;
    };

    // In this order, so that they go in the opposite one.
    std::optional<PlugInInterface> plugIn_;
    Destruction end_;
    std::optional<Interface> interface_;
};

} // namespace vantorel
