// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace vantorel::host {

/// Makes a result of each number below `count`, on as many threads as the computer runs at once, and hands the results
/// to `take` in the order of the numbers, on the calling thread. No more than a few results a thread wait at any time,
/// however long one takes. `make` must not throw; what `take` throws ends the work.
template <typename Result>
void inOrder(std::size_t count, const std::function<Result(std::size_t)>& make,
             const std::function<void(std::size_t, Result)>& take)
{
    constexpr std::size_t mostThreads = 16;
    constexpr std::size_t waitingOfThread = 8;
    const std::size_t threadCount = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, mostThreads);
    std::mutex mutex;
    std::condition_variable_any changed;
    std::deque<std::optional<Result>> waiting; // of `taken`, `taken + 1` and so on
    std::size_t taken = 0;
    std::size_t next = 0;
    const auto work = [&](const std::stop_token& stop) {
        std::unique_lock lock(mutex);
        const auto isRoom = [&] { return next == count || next < taken + threadCount * waitingOfThread; };
        while (changed.wait(lock, stop, isRoom) && next < count) {
            const std::size_t mine = next++;
            waiting.emplace_back();
            lock.unlock();
            Result result = make(mine);
            lock.lock();
            waiting[mine - taken] = std::move(result);
            changed.notify_all();
        }
    };

    std::vector<std::jthread> threads;
    try {
        while (threads.size() < std::min(count, threadCount))
            threads.emplace_back(work);
    } catch (const std::system_error&) {
        // With fewer threads it takes longer; without any it is done below.
    }
    for (std::unique_lock lock(mutex); taken < count;) {
        if (threads.empty()) {
            take(taken, make(taken));
            ++taken;
            continue;
        }
        changed.wait(lock, [&] { return !waiting.empty() && waiting.front(); });
        Result result = *std::move(waiting.front());
        waiting.pop_front();
        const std::size_t mine = taken++;
        changed.notify_all();
        lock.unlock();
        take(mine, std::move(result));
        lock.lock();
    }
}

} // namespace vantorel::host
