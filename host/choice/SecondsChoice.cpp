// SPDX-License-Identifier: GPL-2.0-or-later
#include "SecondsChoice.h"

#include <fmt/format.h>

#include <charconv>
#include <string>

namespace vantorel::host {

CLI::Validator secondsFrom(double least)
{
    const auto check = [least](const std::string& text) {
        constexpr double day = 86'400;
        double seconds = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
        const bool isNumber = error == std::errc() && end == text.data() + text.size();
        // Put so that what is no number, as "nan" is none, fails both comparisons.
        if (isNumber && seconds >= least && seconds <= day)
            return std::string();
        return fmt::format("{} is no number of seconds from {} to {}", text, least, day);
    };
    return {check, ""};
}

} // namespace vantorel::host
