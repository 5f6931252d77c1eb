// SPDX-License-Identifier: GPL-2.0-or-later
#include "DurationChoice.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <string>

namespace vantorel::host {

std::optional<std::chrono::seconds> durationOf(std::string_view text)
{
    constexpr std::int64_t day = 86'400;
    constexpr std::pair<char, std::int64_t> units[] = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', day}, {'y', 365 * day}};
    constexpr std::int64_t most = 100 * 365 * day;
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end + 1 != text.data() + text.size())
        return std::nullopt;
    for (const auto& [letter, seconds] : units) {
        if (*end == letter && number <= most / seconds)
            return std::chrono::seconds(number * seconds);
    }
    return std::nullopt;
}

CLI::Validator durationFrom(std::chrono::seconds least)
{
    const auto check = [least](const std::string& text) {
        const auto duration = durationOf(text);
        if (duration && *duration >= least)
            return std::string();
        return fmt::format("{} is no time of {} s or more, such as 30m, 12h, 90d or 5y", text, least.count());
    };
    return {check, "TIME"};
}

} // namespace vantorel::host
