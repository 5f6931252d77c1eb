// SPDX-License-Identifier: GPL-2.0-or-later
#include "Time.h"

#include "vantorel/system/RunLoop.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <string_view>

#include <poll.h>

namespace vantorel::host {

namespace {

/// Whole seconds of a moment, towards the past; absent outside the years that can be written.
std::optional<std::time_t> secondsOf(std::int64_t milliseconds)
{
    constexpr std::int64_t first = -62'135'596'800; // 0001-01-01
    constexpr std::int64_t end = 253'402'300'800;   // 10000-01-01
    const std::int64_t seconds = milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
    return seconds >= first && seconds < end ? std::optional<std::time_t>(seconds) : std::nullopt;
}

} // namespace

std::string utcTime()
{
    using namespace std::chrono;
    return utcTime(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

std::string utcTime(std::int64_t milliseconds)
{
    const auto seconds = secondsOf(milliseconds);
    return seconds ? fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(*seconds), milliseconds - *seconds * 1000)
                   : std::string();
}

std::optional<std::int64_t> momentOf(const std::string& utcTime)
{
    std::tm time{};
    const char* rest = strptime(utcTime.c_str(), "%Y-%m-%dT%H:%M:%S", &time);
    if (!rest)
        return std::nullopt;
    std::int64_t fraction = 0;
    if (*rest == '.') {
        std::int64_t unit = 100;
        for (++rest; *rest >= '0' && *rest <= '9'; ++rest, unit /= 10)
            fraction += unit * (*rest - '0');
    }
    if (std::string_view(rest) != "Z")
        return std::nullopt;
    return std::int64_t{timegm(&time)} * 1000 + fraction;
}

std::string localMoment(std::int64_t milliseconds)
{
    const auto seconds = secondsOf(milliseconds);
    return seconds ? fmt::format("{:%Y-%m-%d %H:%M}", fmt::localtime(*seconds)) : std::string();
}

std::string localTime()
{
    return fmt::format("{:%H:%M:%S}", fmt::localtime(std::time(nullptr)));
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
