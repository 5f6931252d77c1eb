// SPDX-License-Identifier: GPL-2.0-or-later
#include "SideBySide.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace vantorel {

void sideBySide(std::size_t count, const std::function<void(std::size_t)>& work,
                const std::function<void(std::size_t done)>& onWait)
{
    constexpr std::size_t mostThreads = 16;
    constexpr std::chrono::milliseconds patience(200);
    std::mutex mutex;
    std::condition_variable hasEnded;
    std::size_t next = 0;
    std::size_t done = 0;
    const auto takeAll = [&] {
        for (std::unique_lock lock(mutex); next < count;) {
            const std::size_t mine = next++;
            lock.unlock();
            work(mine);
            lock.lock();
            ++done;
            hasEnded.notify_one();
        }
    };

    struct Threads { // libc++ has `std::jthread` since version 20
        std::vector<std::thread> running;

        Threads() = default;
        Threads(const Threads&) = delete;
        Threads& operator=(const Threads&) = delete;
        ~Threads() { std::ranges::for_each(running, &std::thread::join); }
    } threads;
    try {
        while (threads.running.size() < std::min(count, mostThreads))
            threads.running.emplace_back(takeAll);
    } catch (const std::system_error&) {
        // With fewer threads it takes longer; without any the work is done here.
        if (threads.running.empty())
            takeAll();
    }
    std::unique_lock lock(mutex);
    while (!hasEnded.wait_for(lock, patience, [&] { return done == count; }))
        onWait(done);
}

} // namespace vantorel
