// SPDX-License-Identifier: GPL-2.0-or-later
#include "PlugIn.h"

#include "system/CallGate.h"
#include "system/InstalledMachine.h"
#include "system/registry/HandleTable.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

namespace vantorel::system {

/// The plug-ins that are alive, and their owner.
class PlugIns {
public:
    static PlugIns& shared()
    {
        static auto& the = *new PlugIns; // a plug-in may end while the process does
        return the;
    }

    PlugIn& add(std::unique_ptr<PlugIn> plugIn)
    {
        const std::scoped_lock lock(mutex_);
        plugIn->base_.references = 1;
        return *live_.emplace_back(std::move(plugIn));
    }

    std::uint32_t retain(std::uint32_t& references)
    {
        const std::scoped_lock lock(mutex_);
        return ++references;
    }

    std::uint32_t release(PlugIn& plugIn, std::uint32_t& references)
    {
        std::unique_ptr<PlugIn> ended;
        std::uint32_t left = 0;
        {
            const std::scoped_lock lock(mutex_);
            left = references == 0 ? 0 : --references;
            if (plugIn.base_.references == 0 && (plugIn.isStopped_ || plugIn.commandReferences() == 0))
                ended = takeOut(plugIn);
        }
        if (ended)
            end(std::move(ended));
        return left;
    }

    /// Makes the plug-in the one that has its service open; false while another is.
    bool claim(PlugIn& plugIn)
    {
        const std::scoped_lock lock(mutex_);
        if (std::ranges::any_of(
                live_, [&](const auto& other) { return other->isStarted_ && other->service_ == plugIn.service_; }))
            return false;
        plugIn.isStarted_ = true;
        plugIn.isStopped_ = false;
        return true;
    }

    void giveUp(PlugIn& plugIn)
    {
        const std::scoped_lock lock(mutex_);
        plugIn.isStarted_ = false;
        plugIn.isStopped_ = true;
    }

    std::size_t references()
    {
        const std::scoped_lock lock(mutex_);
        std::size_t count = 0;
        for (const auto& plugIn : live_)
            count += plugIn->base_.references + plugIn->commandReferences();
        return count;
    }

private:
    std::unique_ptr<PlugIn> takeOut(PlugIn& plugIn)
    {
        const auto place = std::ranges::find(live_, &plugIn, &std::unique_ptr<PlugIn>::get);
        std::unique_ptr<PlugIn> taken = std::move(*place);
        live_.erase(place);
        return taken;
    }

    void end(std::unique_ptr<PlugIn> plugIn)
    {
        plugIn->close();
        plugIn->machine_ = nullptr;
        plugIn->hasEnded_ = true;
#ifndef NDEBUG
        // The last ones are kept, so that a use after the end meets one that knows of it.
        constexpr std::size_t kept = 64;
        const std::scoped_lock lock(mutex_);
        ended_.push_back(std::move(plugIn));
        if (ended_.size() > kept)
            ended_.pop_front();
#endif
    }

    std::mutex mutex_;
    std::vector<std::unique_ptr<PlugIn>> live_;
#ifndef NDEBUG
    std::deque<std::unique_ptr<PlugIn>> ended_;
#endif
};

template <typename Table>
std::uint32_t addReference(void* self)
{
    return PlugIns::shared().retain(faceBehind<Table>(self).references);
}

template <typename Table>
std::uint32_t releaseReference(void* self)
{
    PlugInFace<Table>& face = faceBehind<Table>(self);
    return PlugIns::shared().release(*face.plugIn, face.references);
}

template std::uint32_t addReference<IOATASMARTInterface>(void*);
template std::uint32_t addReference<IONVMeSMARTInterface>(void*);
template std::uint32_t releaseReference<IOATASMARTInterface>(void*);
template std::uint32_t releaseReference<IONVMeSMARTInterface>(void*);

namespace {

constexpr base::Uuid IUnknownUUID{{0, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

constexpr IOCFPlugInInterfaceStruct baseTable = {
    ._reserved = nullptr,
    .QueryInterface = queryInterface<IOCFPlugInInterfaceStruct>,
    .AddRef = addReference<IOCFPlugInInterfaceStruct>,
    .Release = releaseReference<IOCFPlugInInterfaceStruct>,
    .version = 1,
    .revision = 0,
    .Probe = Slot<&PlugIn::probe>::in<IOCFPlugInInterfaceStruct>,
    .Start = Slot<&PlugIn::start>::in<IOCFPlugInInterfaceStruct>,
    .Stop = Slot<&PlugIn::stop>::in<IOCFPlugInInterfaceStruct>,
};

std::unique_ptr<PlugIn> makePlugIn(const base::Uuid& type, RegistryNodeRef service)
{
    if (type == kIOATASMARTUserClientTypeID)
        return makeAtaPlugIn(std::move(service));
    if (type == kIONVMeSMARTUserClientTypeID)
        return makeNvmePlugIn(std::move(service));
    return nullptr;
}

} // namespace

PlugIn::PlugIn(RegistryNodeRef service) : service_(std::move(service)), base_{&baseTable, this} {}

std::int32_t PlugIn::query(CFUUIDBytes iid, void** ppv)
{
    if (!ppv)
        return kIOReturnBadArgument;
    *ppv = nullptr;
    if (!callPasses("QueryInterface"))
        return E_NOINTERFACE;
    Answer answer = commands(iid);
    if (!answer.handle &&
        (iid == CFUUIDGetUUIDBytes(kIOCFPlugInInterfaceID) || iid == CFUUIDGetUUIDBytes(IUnknownUUID)))
        answer = {handle(), &base_.references};
    if (!answer.handle)
        return E_NOINTERFACE;
    PlugIns::shared().retain(*answer.references);
    *ppv = answer.handle;
    return kIOReturnSuccess;
}

IOReturn PlugIn::probe(const PropertyTable* /*propertyTable*/, io_service_t service, std::int32_t* order)
{
    if (!order)
        return kIOReturnBadArgument;
    if (HandleTable::shared().findEntry(service) != service_)
        return kIOReturnBadArgument;
    const std::scoped_lock lock(Registry::shared().mutex);
    const bool isCapable = service_->inTree && service_->properties->get<bool>(capableKey()).value_or(false);
    return isCapable ? kIOReturnSuccess : kIOReturnNoDevice;
}

IOReturn PlugIn::start(const PropertyTable* propertyTable, io_service_t service)
{
    std::int32_t order = 0;
    if (const IOReturn status = probe(propertyTable, service, &order); status != kIOReturnSuccess)
        return status;
    if (!PlugIns::shared().claim(*this))
        return kIOReturnExclusiveAccess;
    machine_ = installedMachine();
    IOReturn status = kIOReturnError;
    try {
        status = open(*machine_, service_->id);
    } catch (...) { // the caller is told by a status alone, and the service must not stay claimed
    }
    if (status != kIOReturnSuccess)
        stop();
    return status;
}

IOReturn PlugIn::stop()
{
    close();
    machine_ = nullptr;
    PlugIns::shared().giveUp(*this);
    return kIOReturnSuccess;
}

bool PlugIn::isGone() const
{
    const std::scoped_lock lock(Registry::shared().mutex);
    return !service_->inTree;
}

IOReturn PlugIn::beforeCommand(std::string_view operation) const
{
    if (!callPasses(operation))
        return kIOReturnIOError;
    if (!machine_)
        return kIOReturnNotOpen;
    return isGone() ? kIOReturnNoDevice : kIOReturnSuccess;
}

IOReturn PlugIn::afterCommand(IOReturn status, std::size_t received, std::size_t expected) const
{
    // What a channel still says of a drive that has gone meanwhile may be of another drive, or of none.
    if (isGone())
        return kIOReturnNoDevice;
    if (status != kIOReturnSuccess)
        return status;
    return received < expected ? kIOReturnUnderrun : kIOReturnSuccess;
}

kern_return_t IOCreatePlugInInterfaceForService(io_service_t service, const base::Uuid& pluginType,
                                                const base::Uuid& interfaceType, PlugInHandle& theInterface,
                                                std::int32_t& theScore)
{
    theInterface = nullptr;
    theScore = 0;
    if (!callPasses("IOCreatePlugInInterfaceForService"))
        return kIOReturnNoResources;
    RegistryNodeRef node = HandleTable::shared().findEntry(service);
    if (!node)
        return kIOReturnBadArgument;
    std::unique_ptr<PlugIn> made = makePlugIn(pluginType, std::move(node));
    if (!made || interfaceType != kIOCFPlugInInterfaceID)
        return kIOReturnUnsupported;

    const PlugInHandle handle = PlugIns::shared().add(std::move(made)).handle();
    IOReturn status = (*handle)->Probe(handle, nullptr, service, &theScore);
    if (status == kIOReturnSuccess)
        status = (*handle)->Start(handle, nullptr, service);
    if (status == kIOReturnSuccess)
        theInterface = handle;
    else
        (*handle)->Release(handle);
    return status;
}

kern_return_t IODestroyPlugInInterface(PlugInHandle interface)
{
    if (!interface || !*interface)
        return kIOReturnBadArgument;
    const IOReturn status = (*interface)->Stop(interface);
    (*interface)->Release(interface);
    return status;
}

std::size_t livePlugInReferences()
{
    return PlugIns::shared().references();
}

} // namespace vantorel::system
