// SPDX-License-Identifier: GPL-2.0-or-later
#include "HandleTable.h"

#include <limits>
#include <utility>

namespace vantorel::system {

namespace {

// A handle has the place plus 1 in its lower bits, so that it is never 0, and the turn above them.
constexpr unsigned placeBits = 20;
constexpr std::uint32_t mostPlaces = (1U << placeBits) - 1;
constexpr std::uint32_t turnMask = (1U << (32 - placeBits)) - 1;

io_object_t handleFor(std::uint32_t place, std::uint32_t turn)
{
    return turn << placeBits | (place + 1);
}

} // namespace

HandleTable& HandleTable::shared()
{
    static auto& the = *new HandleTable; // a handle may be given back while the process ends
    return the;
}

io_object_t HandleTable::open(HandleObject object)
{
    const std::scoped_lock lock(mutex_);
    std::uint32_t place = 0;
    if (!free_.empty()) {
        place = free_.back();
        free_.pop_back();
    } else if (slots_.size() < mostPlaces) {
        place = static_cast<std::uint32_t>(slots_.size());
        slots_.emplace_back();
    } else {
        return IO_OBJECT_NULL;
    }
    Slot& slot = slots_[place];
    slot.object = std::move(object);
    slot.count = 1;
    return handleFor(place, slot.turn);
}

HandleTable::Slot* HandleTable::slotOf(io_object_t handle)
{
    const std::uint32_t place = (handle & mostPlaces) - 1; // wraps for 0
    if (place >= slots_.size())
        return nullptr;
    Slot& slot = slots_[place];
    return slot.count > 0 && slot.turn == handle >> placeBits ? &slot : nullptr;
}

HandleObject HandleTable::find(io_object_t handle)
{
    const std::scoped_lock lock(mutex_);
    const Slot* const slot = slotOf(handle);
    return slot ? slot->object : HandleObject();
}

RegistryNodeRef HandleTable::findEntry(io_object_t handle)
{
    const std::scoped_lock lock(mutex_);
    const Slot* const slot = slotOf(handle);
    const auto* const entry = slot ? std::get_if<RegistryNodeRef>(&slot->object) : nullptr;
    return entry ? *entry : nullptr;
}

kern_return_t HandleTable::retain(io_object_t handle)
{
    const std::scoped_lock lock(mutex_);
    Slot* const slot = slotOf(handle);
    if (!slot)
        return kIOReturnBadArgument;
    if (slot->count == std::numeric_limits<std::uint32_t>::max())
        return kIOReturnNoResources;
    ++slot->count;
    return kIOReturnSuccess;
}

kern_return_t HandleTable::release(io_object_t handle)
{
    HandleObject last; // ends behind the lock
    const std::scoped_lock lock(mutex_);
    Slot* const slot = slotOf(handle);
    if (!slot)
        return kIOReturnBadArgument;
    if (--slot->count == 0) {
        last = std::exchange(slot->object, HandleObject());
        slot->turn = (slot->turn + 1) & turnMask;
        free_.push_back(static_cast<std::uint32_t>(slot - slots_.data()));
    }
    return kIOReturnSuccess;
}

std::size_t HandleTable::liveCount()
{
    const std::scoped_lock lock(mutex_);
    return slots_.size() - free_.size();
}

std::size_t liveHandleCount()
{
    return HandleTable::shared().liveCount();
}

} // namespace vantorel::system
