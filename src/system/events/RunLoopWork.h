// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace vantorel::system {

/// What is pending on one thread's run loop: work of its sources, and on the main thread the main queue's blocks.
class RunLoop {
public:
    using Block = std::function<void()>;
    enum class Queue { sources, main };

    RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;
    ~RunLoop();

    /// From any thread. Goes to the main run loop once this one's thread has ended.
    void post(Queue queue, Block block);
    /// Runs the blocks that are pending now, and none that they hand over; gives how many there were. A block that
    /// throws leaves the ones behind it pending.
    std::size_t runPending(Queue queue);
    /// Waits until there is work, at most so many milliseconds.
    void wait(int milliseconds) const;

    /// Tells that the loop's thread has ended: the main run loop takes over what is pending.
    void endWithThread();

    void requestStop();
    /// Whether a stop was asked for since the last time this was called.
    [[nodiscard]] bool takeStop();
    [[nodiscard]] int descriptor() const { return descriptor_; }

private:
    std::deque<Block>& queued(Queue queue) { return queue == Queue::main ? main_ : sources_; }
    void signal() const;

    std::mutex mutex_;
    std::deque<Block> sources_;
    std::deque<Block> main_;
    bool hasEnded_ = false;
    std::atomic<bool> stop_{false};
    int descriptor_; // readable while a queue has blocks
};

/// The run loop of the main thread, for any thread.
[[nodiscard]] const std::shared_ptr<RunLoop>& mainRunLoop();

} // namespace vantorel::system
