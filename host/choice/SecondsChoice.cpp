// SPDX-License-Identifier: GPL-2.0-or-later
#include "SecondsChoice.h"

#include "vantorel/base/Text.h"

#include <fmt/format.h>

#include <optional>
#include <string>

namespace vantorel::host {

CLI::Validator secondsFrom(double least)
{
    const auto check = [least](const std::string& text) {
        constexpr double day = 86'400;
        const std::optional<double> seconds = base::realFrom(text);
        // Put so that what is no number, as "nan" is none, fails both comparisons.
        if (seconds && *seconds >= least && *seconds <= day)
            return std::string();
        return fmt::format("{} is no number of seconds from {} to {}", text, least, day);
    };
    return {check, ""};
}

} // namespace vantorel::host
