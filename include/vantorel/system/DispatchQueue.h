// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// A queue of blocks that run one after the other, in order of hand-over, never two at once.
///
/// The main queue runs on the main thread, from within its run loop. Every other queue runs on a thread of its own that
/// exists while there is something to run. A block on such a queue must not throw.
class DispatchQueue {
public:
    virtual ~DispatchQueue() = default;

    /// Hands over a block and returns at once; from any thread.
    virtual void async(std::function<void()> block) = 0;
    /// The label given at creation; of the main queue "com.apple.main-thread".
    [[nodiscard]] virtual const std::string& label() const = 0;
};

using DispatchQueueRef = std::shared_ptr<DispatchQueue>;

[[nodiscard]] DispatchQueueRef dispatch_get_main_queue();

/// A serial queue with a label. What was handed over still runs when the last reference goes.
[[nodiscard]] DispatchQueueRef dispatch_queue_create(std::string label);

inline void dispatch_async(const DispatchQueueRef& queue, std::function<void()> block)
{
    queue->async(std::move(block));
}

} // namespace system
} // namespace vantorel
