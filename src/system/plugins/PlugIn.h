// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "system/registry/RegistryTree.h"
#include "vantorel/system/IOReturn.h"
#include "vantorel/system/Machine.h"
#include "vantorel/system/PlugIn.h"

#include <atomic>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace vantorel::system {

class PlugIn;

/// One interface of a plug-in. Its handle is the address of the first member.
template <typename Table>
struct PlugInFace {
    const Table* table;
    PlugIn* plugIn;
    std::uint32_t references = 0; ///< guarded by the lock of `PlugIns`
};

/// What both plug-ins share: the service they stand for, its base interface, its references and its end. `PlugIns` owns
/// it from its creation to the last reference.
class PlugIn {
public:
    PlugIn(const PlugIn&) = delete;
    PlugIn& operator=(const PlugIn&) = delete;
    virtual ~PlugIn() = default;

    [[nodiscard]] PlugInHandle handle() { return &base_.table; }
    [[nodiscard]] bool hasEnded() const { return hasEnded_; }

    // The slots of the base interface.
    std::int32_t query(CFUUIDBytes iid, void** ppv);
    IOReturn probe(const PropertyTable* propertyTable, io_service_t service, std::int32_t* order);
    IOReturn start(const PropertyTable* propertyTable, io_service_t service);
    IOReturn stop();

protected:
    /// What a query gives: a handle, and the count of its interface.
    struct Answer {
        void* handle = nullptr;
        std::uint32_t* references = nullptr;
    };

    explicit PlugIn(RegistryNodeRef service);

    /// Asked before a command is sent: `kIOReturnSuccess`, or why it is not.
    [[nodiscard]] IOReturn beforeCommand(std::string_view operation) const;
    /// The status of a command that came back with this one and `received` bytes of the `expected` ones.
    [[nodiscard]] IOReturn afterCommand(IOReturn status, std::size_t received, std::size_t expected) const;

private:
    friend class PlugIns;

    /// The key by which a service of this plug-in declares itself capable.
    [[nodiscard]] virtual std::string_view capableKey() const = 0;
    /// Opens the channel to the entry.
    virtual IOReturn open(Machine& machine, std::uint64_t entry) = 0;
    virtual void close() = 0;
    /// The interface for commands when `iid` is its id, else nothing.
    [[nodiscard]] virtual Answer commands(const CFUUIDBytes& iid) = 0;
    [[nodiscard]] virtual std::uint32_t commandReferences() const = 0;

    [[nodiscard]] bool isGone() const;

    const RegistryNodeRef service_;
    PlugInFace<IOCFPlugInInterfaceStruct> base_;
    std::shared_ptr<Machine> machine_; ///< while the channel is open
    bool isStarted_ = false;           ///< guarded by the lock of `PlugIns`
    bool isStopped_ = false;           ///< guarded by the lock of `PlugIns`
    std::atomic<bool> hasEnded_ = false;
};

/// The interface behind a handle.
template <typename Table>
PlugInFace<Table>& faceBehind(void* self)
{
    auto& face = *static_cast<PlugInFace<Table>*>(self);
    assert(!face.plugIn->hasEnded() && "a plug-in interface is used after its end");
    return face;
}

// The slots that all tables begin with.
template <typename Table>
std::int32_t queryInterface(void* self, CFUUIDBytes iid, void** ppv)
{
    return faceBehind<Table>(self).plugIn->query(iid, ppv);
}
template <typename Table>
std::uint32_t addReference(void* self);
template <typename Table>
std::uint32_t releaseReference(void* self);

/// Makes slots of a member function: `Slot<&AtaPlugIn::readData>::in<IOATASMARTInterface>`.
template <auto Method>
struct Slot;
template <typename Owner, typename... Arguments, IOReturn (Owner::*Method)(Arguments...)>
struct Slot<Method> {
    template <typename Table>
    static IOReturn in(void* self, Arguments... arguments)
    {
        return (static_cast<Owner*>(faceBehind<Table>(self).plugIn)->*Method)(arguments...);
    }
};

/// How many references on plug-ins are alive; for tests of what is given back.
[[nodiscard]] std::size_t livePlugInReferences();

[[nodiscard]] std::unique_ptr<PlugIn> makeAtaPlugIn(RegistryNodeRef service);
[[nodiscard]] std::unique_ptr<PlugIn> makeNvmePlugIn(RegistryNodeRef service);

} // namespace vantorel::system
