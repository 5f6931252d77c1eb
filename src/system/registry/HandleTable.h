// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "RegistryTree.h"
#include "vantorel/system/IOObject.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <variant>
#include <vector>

namespace vantorel::system {

/// Where a walk over an entry's children stands. Guarded by the registry's lock.
struct ChildIterator {
    RegistryNodeRef parent;
    std::uint64_t lastOrder = 0;
};

/// What a handle stands for.
using HandleObject = std::variant<std::monostate, RegistryNodeRef, std::shared_ptr<ChildIterator>>;

/// The handles that are alive. A handle is a place in the table and the turn of that place, so that one given back too
/// often, or used after its end, is not mistaken for the one that came after it.
class HandleTable {
public:
    [[nodiscard]] static HandleTable& shared();

    /// A new handle with a count of 1; 0 when `object` is null or the table is full.
    [[nodiscard]] io_object_t open(HandleObject object);
    /// The object behind a handle; nothing when there is no such handle.
    [[nodiscard]] HandleObject find(io_object_t handle);
    [[nodiscard]] RegistryNodeRef findEntry(io_object_t handle);
    kern_return_t retain(io_object_t handle);
    kern_return_t release(io_object_t handle);
    [[nodiscard]] std::size_t liveCount();

private:
    struct Slot {
        HandleObject object;
        std::uint32_t count = 0;
        std::uint32_t turn = 0;
    };

    Slot* slotOf(io_object_t handle);

    std::mutex mutex_;
    std::vector<Slot> slots_;
    std::vector<std::uint32_t> free_;
};

/// How many handles are alive; for tests of what is given back.
[[nodiscard]] std::size_t liveHandleCount();

} // namespace vantorel::system
