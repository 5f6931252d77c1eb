// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"
#include "vantorel/system/CoreFoundation.h"
#include "vantorel/system/IOObject.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

/// The I/O registry: one tree of entries, reached through counted handles. Operations keep the names and the order of
/// arguments that they have on the platform. All of them may be called from any thread.
namespace VANTOREL_PUBLIC vantorel {
namespace system {

using IOOptionBits = std::uint32_t;
using mach_port_t = std::uint32_t;

inline constexpr mach_port_t kIOMasterPortDefault = 0;
inline constexpr std::string_view kIOServicePlane = "IOService";
inline constexpr std::string_view kIORegistryEntryIDKey = "IORegistryEntryID";
inline constexpr std::string_view kIOProviderClassKey = "IOProviderClass";

/// Puts all properties of the entry into `properties`. `kIOReturnBadArgument` when the handle is no entry; `properties`
/// is null on failure.
kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, PropertyTableRef& properties,
                                                CFAllocatorRef allocator, IOOptionBits options);

/// One property of the entry; absent when the entry has none of this key or the handle is no entry.
[[nodiscard]] std::optional<PropertyValue> IORegistryEntryCreateCFProperty(io_registry_entry_t entry,
                                                                           std::string_view key,
                                                                           CFAllocatorRef allocator,
                                                                           IOOptionBits options);

/// Puts the first parent in the plane into `parent`, or 0 on failure: `kIOReturnNoDevice` at the root and for an entry
/// that has left the registry, `kIOReturnBadArgument` when the handle is no entry or the plane is not "IOService".
kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, std::string_view plane,
                                            io_registry_entry_t& parent);

/// Puts an iterator over the children in the plane, in order of arrival, into `iterator`, or 0 on failure, with the
/// statuses of `IORegistryEntryGetParentEntry`. Children that come or go while it runs are told or not told; none is
/// told twice.
kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, std::string_view plane,
                                              io_iterator_t& iterator);

/// The next entry, or 0 at the end and for a handle that is no iterator.
[[nodiscard]] io_object_t IOIteratorNext(io_iterator_t iterator);

/// Puts the id, which no other entry has or will have, into `id`; `kIOReturnBadArgument` when the handle is no entry.
kern_return_t IORegistryEntryGetRegistryEntryID(io_registry_entry_t entry, std::uint64_t& id);

/// Puts the entry's name in the plane, without its location, into `name`.
kern_return_t IORegistryEntryGetName(io_registry_entry_t entry, std::string& name);

/// Puts what stands behind the "@" of the entry into `location`; `kIOReturnNotFound` when it has none.
kern_return_t IORegistryEntryGetLocationInPlane(io_registry_entry_t entry, std::string_view plane,
                                                std::string& location);

/// Puts the class into `className`; for an iterator it is "IOIterator".
kern_return_t IOObjectGetClass(io_object_t object, std::string& className);

/// The root of the tree, which always exists.
[[nodiscard]] io_registry_entry_t IORegistryGetRootEntry(mach_port_t port);

/// A matching table for the entry with this id.
[[nodiscard]] PropertyTable IORegistryEntryIDMatching(std::uint64_t id);

/// A matching table for entries of a class or of one derived from it.
[[nodiscard]] PropertyTable IOServiceMatching(std::string_view className);

/// The first entry, in tree order, that the table matches; 0 when there is none. An empty table matches nothing.
[[nodiscard]] io_service_t IOServiceGetMatchingService(mach_port_t port, const PropertyTable& matching);

/// Adds one to the handle's count; `kIOReturnBadArgument` when there is no such handle.
kern_return_t IOObjectRetain(io_object_t object);

/// Takes one from the handle's count and ends it at 0; `kIOReturnBadArgument` when there is no such handle.
kern_return_t IOObjectRelease(io_object_t object);

/// Owns one count of a handle and gives it back.
class IOHandle {
public:
    IOHandle() = default;
    explicit IOHandle(io_object_t object) : object_(object) {}
    IOHandle(IOHandle&& other) noexcept : object_(std::exchange(other.object_, IO_OBJECT_NULL)) {}
    IOHandle& operator=(IOHandle&& other) noexcept
    {
        if (this != &other)
            reset(std::exchange(other.object_, IO_OBJECT_NULL));
        return *this;
    }
    ~IOHandle() { reset(); }

    [[nodiscard]] io_object_t get() const { return object_; }
    explicit operator bool() const { return object_ != IO_OBJECT_NULL; }

    /// Gives back the handle held and takes over this one.
    void reset(io_object_t object = IO_OBJECT_NULL)
    {
        const io_object_t old = std::exchange(object_, object);
        if (old != IO_OBJECT_NULL)
            IOObjectRelease(old);
    }

    /// The handle, which is the caller's from now on.
    [[nodiscard]] io_object_t release() { return std::exchange(object_, IO_OBJECT_NULL); }

    /// Gives back the handle held; an operation puts the new one where the result points.
    [[nodiscard]] io_object_t& receive()
    {
        reset();
        return object_;
    }

private:
    io_object_t object_ = IO_OBJECT_NULL;
};

} // namespace system
} // namespace vantorel
