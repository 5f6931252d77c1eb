// SPDX-License-Identifier: GPL-2.0-or-later
#include "Time.h"

#include "documents/Documents.h"
#include "vantorel/system/RunLoop.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <string_view>

#include <poll.h>

namespace vantorel::host {

std::string localMoment(std::int64_t milliseconds)
{
    return utcTime(milliseconds).empty()
               ? std::string()
               : fmt::format("{:%Y-%m-%d %H:%M}", fmt::localtime(static_cast<std::time_t>(milliseconds / 1000)));
}

std::string localTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return fmt::format("{:%H:%M:%S}", local);
}

void pumpEvents(std::optional<double> seconds, const std::function<bool()>& isDone)
{
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    // Far beyond any patience, and a millisecond count that poll takes.
    constexpr double longestWait = 1'000'000;
    for (;;) {
        while (system::performPendingWork() && !isDone()) {
        }
        const double passed = std::chrono::duration<double>(Clock::now() - begin).count();
        const double left = seconds ? *seconds - passed : longestWait;
        if (isDone() || left <= 0)
            return;
        pollfd descriptor{system::runLoopDescriptor(), POLLIN, 0};
        poll(&descriptor, 1, static_cast<int>(std::min(left, longestWait) * 1000) + 1);
    }
}

} // namespace vantorel::host
