// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/base/Uuid.h"
#include "vantorel/layouts/PlugInTables.h"
#include "vantorel/system/IORegistry.h"

#include <cstdint>

/// The plug-ins through which a drive is asked for its SMART data: function tables over a machine's channel.
///
/// A plug-in has a base interface and one for its commands, and counts the references on both: its creation gives the
/// first on the base interface; `AddRef` and every query add one, `Release` takes one. It ends with the last of them.
/// Once it has been stopped, and so after `IODestroyPlugInInterface`, only the references on the base interface keep
/// it; the interface for commands must not be used any more. A debug build stops the program where an interface is
/// used after the end of its plug-in.
///
/// A plug-in is used by one thread at a time; different ones by different threads.
namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// A handle of a plug-in's base interface; null is none.
using PlugInHandle = const IOCFPlugInInterfaceStruct**;

/// The status of a query for an interface that the plug-in does not have.
inline constexpr std::int32_t E_NOINTERFACE = static_cast<std::int32_t>(0x80000004U);

/// The base interface of all plug-ins.
inline constexpr base::Uuid kIOCFPlugInInterfaceID{
    {0xC2, 0x44, 0xE8, 0x58, 0x10, 0x9C, 0x11, 0xD4, 0x91, 0xD4, 0x00, 0x50, 0xE4, 0xC6, 0x42, 0x6F}};
/// The type of the plug-in for ATA SMART.
inline constexpr base::Uuid kIOATASMARTUserClientTypeID{
    {0x24, 0x51, 0x4B, 0x7A, 0x28, 0x04, 0x11, 0xD6, 0x8A, 0x02, 0x00, 0x30, 0x65, 0x70, 0x48, 0x66}};
/// Its interface for commands, an `IOATASMARTInterface`.
inline constexpr base::Uuid kIOATASMARTInterfaceID{
    {0x08, 0xAB, 0xE2, 0x1C, 0x20, 0xD4, 0x11, 0xD6, 0x8D, 0xF6, 0x00, 0x03, 0x93, 0x5A, 0x76, 0xB2}};
/// The type of the plug-in for NVMe SMART.
inline constexpr base::Uuid kIONVMeSMARTUserClientTypeID{
    {0xAA, 0x0F, 0xA6, 0xF9, 0xC2, 0xD6, 0x45, 0x7F, 0xB1, 0x0B, 0x59, 0xA1, 0x32, 0x53, 0x29, 0x2F}};
/// Its interface for commands, an `IONVMeSMARTInterface`: the bytes of the base interface, which a query of this
/// plug-in answers with the longer table.
inline constexpr base::Uuid kIONVMeSMARTInterfaceID = kIOCFPlugInInterfaceID;

/// A UUID's bytes, for passing by value.
[[nodiscard]] constexpr CFUUIDBytes CFUUIDGetUUIDBytes(const base::Uuid& uuid)
{
    return {uuid.bytes};
}

/// Makes the plug-in of a type for a service, opens its channel and puts the handle of its base interface into
/// `theInterface`, with one reference that is the caller's, to be given to `IODestroyPlugInInterface`. `theScore` is
/// how well the plug-in fits, here always 0.
///
/// On failure the handle is null and nothing is left: `kIOReturnBadArgument` when the handle is no entry,
/// `kIOReturnUnsupported` for another type or interface, `kIOReturnNoDevice` when the entry is gone or does not declare
/// itself SMART capable, `kIOReturnExclusiveAccess` while another plug-in has the service open, or what the machine
/// says of its channel.
kern_return_t IOCreatePlugInInterfaceForService(io_service_t service, const base::Uuid& pluginType,
                                                const base::Uuid& interfaceType, PlugInHandle& theInterface,
                                                std::int32_t& theScore);

/// Stops the plug-in, which closes its channel, and gives back the reference of its creation. `kIOReturnBadArgument`
/// when the handle cannot be used.
kern_return_t IODestroyPlugInInterface(PlugInHandle interface);

} // namespace system
} // namespace vantorel
