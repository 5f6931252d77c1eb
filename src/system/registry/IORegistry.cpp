// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/IORegistry.h"

#include "CurrentProperties.h"
#include "HandleTable.h"
#include "RegistryTree.h"
#include "system/CallGate.h"

#include <algorithm>
#include <mutex>

namespace vantorel::system {

namespace {

bool isKnownPlane(std::string_view plane)
{
    return plane == kIOServicePlane;
}

PropertyTableRef propertiesOf(const RegistryNode& node)
{
    PropertyTableRef told;
    {
        const std::scoped_lock lock(Registry::shared().mutex);
        told = node.properties;
        if (!node.inTree)
            return told; // of an entry that is gone the machine knows no more
    }
    return currentProperties(node.id, told);
}

/// `IOPropertyMatch`, `IOProviderClass` and the id are what the library and its hosts match by.
bool matches(const RegistryNode& node, const PropertyTable& matching)
{
    return std::ranges::all_of(matching, [&node](const auto& condition) {
        const auto& [key, wanted] = condition;
        if (key == kIORegistryEntryIDKey)
            return wanted.template get<std::uint64_t>() == node.id;
        if (key == kIOProviderClassKey)
            return wanted.text() && conformsTo(node, *wanted.text());
        if (key != "IOPropertyMatch" || !wanted.table())
            return false;
        return std::ranges::all_of(*wanted.table(), [&node](const auto& property) {
            const PropertyValue* const value = node.properties->lookUp(property.first);
            return value && *value == property.second;
        });
    });
}

} // namespace

kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, PropertyTableRef& properties,
                                                CFAllocatorRef /*allocator*/, IOOptionBits /*options*/)
{
    properties = nullptr;
    if (!callPasses("IORegistryEntryCreateCFProperties"))
        return kIOReturnError;
    const RegistryNodeRef node = HandleTable::shared().findEntry(entry);
    if (!node)
        return kIOReturnBadArgument;
    properties = propertiesOf(*node);
    return KERN_SUCCESS;
}

std::optional<PropertyValue> IORegistryEntryCreateCFProperty(io_registry_entry_t entry, std::string_view key,
                                                             CFAllocatorRef /*allocator*/, IOOptionBits /*options*/)
{
    if (!callPasses("IORegistryEntryCreateCFProperty"))
        return std::nullopt;
    const RegistryNodeRef node = HandleTable::shared().findEntry(entry);
    if (!node)
        return std::nullopt;
    const PropertyTableRef properties = propertiesOf(*node);
    const PropertyValue* const value = properties->lookUp(key);
    return value ? std::optional(*value) : std::nullopt;
}

kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, std::string_view plane,
                                            io_registry_entry_t& parent)
{
    parent = IO_OBJECT_NULL;
    if (!callPasses("IORegistryEntryGetParentEntry"))
        return kIOReturnError;
    const RegistryNodeRef node = HandleTable::shared().findEntry(entry);
    if (!node || !isKnownPlane(plane))
        return kIOReturnBadArgument;
    RegistryNodeRef found;
    {
        const std::scoped_lock lock(Registry::shared().mutex);
        RegistryNode* const first = node->firstParent();
        if (!first)
            return kIOReturnNoDevice;
        found = first->shared_from_this();
    }
    parent = HandleTable::shared().open(std::move(found));
    return parent == IO_OBJECT_NULL ? kIOReturnNoResources : KERN_SUCCESS;
}

kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, std::string_view plane,
                                              io_iterator_t& iterator)
{
    iterator = IO_OBJECT_NULL;
    if (!callPasses("IORegistryEntryGetChildIterator"))
        return kIOReturnError;
    const RegistryNodeRef node = HandleTable::shared().findEntry(entry);
    if (!node || !isKnownPlane(plane))
        return kIOReturnBadArgument;
    {
        const std::scoped_lock lock(Registry::shared().mutex);
        if (!node->inTree)
            return kIOReturnNoDevice;
    }
    iterator = HandleTable::shared().open(std::make_shared<ChildIterator>(ChildIterator{node}));
    return iterator == IO_OBJECT_NULL ? kIOReturnNoResources : KERN_SUCCESS;
}

io_object_t IOIteratorNext(io_iterator_t iterator)
{
    if (!callPasses("IOIteratorNext"))
        return IO_OBJECT_NULL;
    const HandleObject object = HandleTable::shared().find(iterator);
    const auto* const walk = std::get_if<std::shared_ptr<ChildIterator>>(&object);
    if (!walk)
        return IO_OBJECT_NULL;
    RegistryNodeRef next;
    {
        const std::scoped_lock lock(Registry::shared().mutex);
        ChildIterator& state = **walk;
        const auto child = state.parent->children.upper_bound(state.lastOrder);
        if (child == state.parent->children.end())
            return IO_OBJECT_NULL;
        state.lastOrder = child->first;
        next = child->second->shared_from_this();
    }
    return HandleTable::shared().open(std::move(next));
}

kern_return_t IORegistryEntryGetRegistryEntryID(io_registry_entry_t entry, std::uint64_t& id)
{
    id = 0;
    if (!callPasses("IORegistryEntryGetRegistryEntryID"))
        return kIOReturnError;
    const RegistryNodeRef node = HandleTable::shared().findEntry(entry);
    if (!node)
        return kIOReturnBadArgument;
    const std::scoped_lock lock(Registry::shared().mutex);
    id = node->id;
    return KERN_SUCCESS;
}

kern_return_t IORegistryEntryGetName(io_registry_entry_t entry, std::string& name)
{
    name.clear();
    if (!callPasses("IORegistryEntryGetName"))
        return kIOReturnError;
    const RegistryNodeRef node = HandleTable::shared().findEntry(entry);
    if (!node)
        return kIOReturnBadArgument;
    const std::scoped_lock lock(Registry::shared().mutex);
    name = node->name;
    return KERN_SUCCESS;
}

kern_return_t IORegistryEntryGetLocationInPlane(io_registry_entry_t entry, std::string_view plane,
                                                std::string& location)
{
    location.clear();
    if (!callPasses("IORegistryEntryGetLocationInPlane"))
        return kIOReturnError;
    const RegistryNodeRef node = HandleTable::shared().findEntry(entry);
    if (!node || !isKnownPlane(plane))
        return kIOReturnBadArgument;
    const std::scoped_lock lock(Registry::shared().mutex);
    location = node->location;
    return location.empty() ? kIOReturnNotFound : KERN_SUCCESS;
}

kern_return_t IOObjectGetClass(io_object_t object, std::string& className)
{
    className.clear();
    if (!callPasses("IOObjectGetClass"))
        return kIOReturnError;
    const HandleObject found = HandleTable::shared().find(object);
    if (std::holds_alternative<std::monostate>(found))
        return kIOReturnBadArgument;
    const auto* const node = std::get_if<RegistryNodeRef>(&found);
    const std::scoped_lock lock(Registry::shared().mutex);
    className = node ? (*node)->className : "IOIterator";
    return KERN_SUCCESS;
}

io_registry_entry_t IORegistryGetRootEntry(mach_port_t /*port*/)
{
    if (!callPasses("IORegistryGetRootEntry"))
        return IO_OBJECT_NULL;
    return HandleTable::shared().open(Registry::shared().tree.root());
}

PropertyTable IORegistryEntryIDMatching(std::uint64_t id)
{
    return PropertyTable{{std::string(kIORegistryEntryIDKey), id}};
}

PropertyTable IOServiceMatching(std::string_view className)
{
    return PropertyTable{{std::string(kIOProviderClassKey), className}};
}

io_service_t IOServiceGetMatchingService(mach_port_t /*port*/, const PropertyTable& matching)
{
    if (!callPasses("IOServiceGetMatchingService") || matching.empty())
        return IO_OBJECT_NULL;
    RegistryNodeRef found;
    {
        Registry& registry = Registry::shared();
        const std::scoped_lock lock(registry.mutex);
        if (const auto id = matching.get<std::uint64_t>(kIORegistryEntryIDKey)) {
            found = registry.tree.find(*id);
            if (found && !matches(*found, matching))
                found = nullptr;
        } else {
            RegistryTree::walk(*registry.tree.root(), [&](RegistryNode& node) {
                if (matches(node, matching))
                    found = node.shared_from_this();
                return !found;
            });
        }
    }
    return found ? HandleTable::shared().open(std::move(found)) : IO_OBJECT_NULL;
}

kern_return_t IOObjectRetain(io_object_t object)
{
    return HandleTable::shared().retain(object);
}

kern_return_t IOObjectRelease(io_object_t object)
{
    return HandleTable::shared().release(object);
}

} // namespace vantorel::system
