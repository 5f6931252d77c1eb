// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/RunLoop.h"

#include "RunLoopWork.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace vantorel::system {

namespace {

/// The thread that took the part of the main one; 0 while none has.
std::atomic<pid_t> mainThread = 0;

bool onMainThread()
{
    const pid_t taken = mainThread;
    return ::gettid() == (taken == 0 ? ::getpid() : taken);
}

} // namespace

CFRunLoopRef CFRunLoopGetCurrent()
{
    if (onMainThread())
        return mainRunLoop();
    struct Own {
        CFRunLoopRef loop = std::make_shared<RunLoop>();
        ~Own() { loop->endWithThread(); }
    };
    thread_local const Own own;
    return own.loop;
}

void becomeMainThread()
{
    struct Part {
        Part()
        {
            pid_t nobody = 0;
            if (!mainThread.compare_exchange_strong(nobody, ::gettid()))
                throw std::logic_error("run loop: another thread is the main one already");
        }
        Part(const Part&) = delete;
        Part& operator=(const Part&) = delete;
        ~Part() { mainThread = 0; }
    };
    thread_local const Part part;
}

CFRunLoopRunResult CFRunLoopRunInMode(std::string_view /*mode*/, double seconds, bool returnAfterSourceHandled)
{
    using Clock = std::chrono::steady_clock;
    constexpr double longest = 1e9; // some thirty years, well within the clock
    const std::chrono::duration<double> bounded(std::clamp(seconds, 0.0, longest));
    const Clock::time_point end = Clock::now() + std::chrono::duration_cast<Clock::duration>(bounded);
    const CFRunLoopRef loop = CFRunLoopGetCurrent();

    for (;;) {
        std::size_t handled = loop->runPending(RunLoop::Queue::sources);
        if (handled > 0 && returnAfterSourceHandled)
            return CFRunLoopRunResult::handledSource;
        if (onMainThread())
            handled += loop->runPending(RunLoop::Queue::main);
        if (loop->takeStop())
            return CFRunLoopRunResult::stopped;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0)
            return CFRunLoopRunResult::timedOut;
        if (handled == 0)
            loop->wait(static_cast<int>(std::min<std::int64_t>(left.count(), 60'000)));
    }
}

void CFRunLoopStop(const CFRunLoopRef& runLoop)
{
    runLoop->requestStop();
}

void CFRunLoopPerformBlock(const CFRunLoopRef& runLoop, std::function<void()> block)
{
    runLoop->post(RunLoop::Queue::sources, std::move(block));
}

int runLoopDescriptor()
{
    return CFRunLoopGetCurrent()->descriptor();
}

bool performPendingWork()
{
    const CFRunLoopRef loop = CFRunLoopGetCurrent();
    bool any = false;
    for (;;) {
        std::size_t handled = loop->runPending(RunLoop::Queue::sources);
        if (onMainThread())
            handled += loop->runPending(RunLoop::Queue::main);
        if (handled == 0)
            return any;
        any = true;
    }
}

} // namespace vantorel::system
