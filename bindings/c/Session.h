// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "EventQueue.h"
#include "documents/DriveOutcome.h"
#include "vantorel.h"
#include "vantorel/disks/DiskListener.h"
#include "vantorel/system/Machine.h"
#include "vantorel/system/RunLoop.h"

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace vantorel::c {

/// An open machine and the thread that it is looked at on, which is the registry's.
///
/// All but `end` may be called from any thread, also from a callback, which runs on that thread.
class Session final {
public:
    /// Starts the thread, has it install the machine, and returns when all disks have arrived. `name` is what the
    /// documents call the machine. Throws what starting throws.
    Session(std::unique_ptr<system::Machine> machine, std::string name);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    /// Ends it.
    ~Session();

    [[nodiscard]] bool isOwnThread() const { return std::this_thread::get_id() == thread_.get_id(); }

    [[nodiscard]] std::string list();
    [[nodiscard]] std::vector<std::string> driveNames();
    /// Reads the drives of these names, or all of them.
    [[nodiscard]] std::vector<DriveOutcome> read(const std::vector<std::string>& names);
    [[nodiscard]] std::string check(const std::vector<std::string>& names, bool raw);

    void listen(vantorel_event_callback callback, void* context);
    /// The events that wait to be fetched; they are gathered from the first call on.
    [[nodiscard]] EventQueue& events();

    /// Takes up what happened to a disk. On the session's thread.
    void diskChanged(const Disk& disk, DiskEvent event);

    /// Wakes who waits for events; none is told any more.
    void stopTelling();
    /// Ends the thread and has its machine go. Nobody may be using the session. Not on its thread.
    void end();

private:
    struct Listener {
        vantorel_event_callback callback = nullptr;
        void* context = nullptr;
    };

    void run(std::unique_ptr<system::Machine> machine, std::promise<void>& isReady);
    void pump();

    /// Calls `work` on the session's thread, and gives what it gives or throws.
    template <typename Work>
    std::invoke_result_t<Work> onThread(Work work)
    {
        if (isOwnThread())
            return work();
        std::packaged_task<std::invoke_result_t<Work>()> task(std::move(work));
        auto result = task.get_future();
        system::CFRunLoopPerformBlock(loop_, [&task] { task(); });
        return result.get();
    }

    const std::string name_;
    EventQueue events_;
    std::mutex reading_; // of one drive the second read at a time would fail
    std::atomic<bool> isEnding_ = false;
    std::atomic<bool> tells_ = true;

    // Of the session's thread.
    Listener listener_;
    std::atomic<bool> isQueueing_ = false; // read by others, too

    system::CFRunLoopRef loop_;
    std::thread thread_;
};

} // namespace vantorel::c
