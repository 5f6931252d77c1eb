// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/health/TypedValue.h"

#include <algorithm>

namespace vantorel::health {

std::string decimalText(Int128 number, unsigned decimals)
{
    auto magnitude = static_cast<UInt128>(number);
    if (number < 0)
        magnitude = 0 - magnitude;
    std::string text; // from its last digit
    for (unsigned digits = 0; magnitude != 0 || digits <= decimals; ++digits) {
        if (decimals != 0 && digits == decimals)
            text += '.';
        text += static_cast<char>('0' + static_cast<int>(magnitude % 10));
        magnitude /= 10;
    }
    if (number < 0)
        text += '-';
    std::ranges::reverse(text);
    return text;
}

std::string decimalText(const TypedValue& value)
{
    return decimalText(value.number, value.decimals);
}

std::optional<std::int64_t> wholeHours(const TypedValue& value)
{
    const auto hoursOf = [&](Int128 perHour) -> std::optional<std::int64_t> {
        constexpr Int128 most = 1'000'000'000;
        const Int128 hours = value.number / perHour;
        if (!value.plausible || hours < 0 || hours > most)
            return std::nullopt;
        return static_cast<std::int64_t>(hours);
    };
    switch (value.unit) {
    case Unit::hours:
        return hoursOf(1);
    case Unit::minutes:
        return hoursOf(60);
    case Unit::seconds:
        return hoursOf(3600);
    case Unit::milliseconds:
        return hoursOf(3'600'000);
    default:
        return std::nullopt;
    }
}

} // namespace vantorel::health
