// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <thread>

namespace vantorel::test {

/// How many threads the process has. A thread that has been joined is still counted for a moment: so it is waited, for
/// `patience` at most, until there are as many as expected.
inline std::size_t threadCount(std::size_t expected, std::chrono::milliseconds patience = std::chrono::seconds(5))
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        const auto count = static_cast<std::size_t>(std::distance(
            std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator()));
        if (count == expected || std::chrono::steady_clock::now() >= deadline)
            return count;
        std::this_thread::yield();
    }
}

/// How many there are before a test, the one that a sanitizer starts with the first thread of the process among them.
inline std::size_t threadCountAtFirst()
{
    std::thread([] {}).join();
    return threadCount(1, std::chrono::milliseconds(200));
}

} // namespace vantorel::test
