// SPDX-License-Identifier: GPL-2.0-or-later
#include "Sentence.h"

#include <charconv>
#include <cmath>

namespace vantorel::health {

namespace {

/// "3.4 %", from 10 % on without a fraction.
std::string percent(double share)
{
    std::array<char, 32> buffer;
    const double percents = 100 * share;
    const auto result =
        std::to_chars(buffer.begin(), buffer.end(), percents, std::chars_format::fixed, percents < 9.95 ? 1 : 0);
    return std::string(buffer.begin(), result.ptr) + " %";
}

std::string numbers(const FailureRate& rate)
{
    std::string text = std::to_string(rate.from);
    if (!rate.through)
        return text + " or more";
    return *rate.through == rate.from ? text : text + " to " + std::to_string(*rate.through);
}

std::string rates(const MeasuredRate& measured)
{
    const std::string disks = "disks with " + numbers(measured.rate);
    const std::string ofNone = percent(measured.without.perYear);
    const double perYear = measured.rate.perYear;
    if (perYear <= 1)
        return disks + " fail at " + percent(perYear) + " a year, those with none at " + ofNone;
    // More than one failure a year is no share of the disks any more; it tells how long one of them lasts.
    return disks + " last " + std::to_string(std::lround(365 / perYear)) +
           " days on average, those with none fail at " + ofNone + " a year";
}

std::string since(std::optional<std::int64_t> hoursBetween)
{
    if (!hoursBetween)
        return "since the earlier reading";
    return "in " + std::to_string(*hoursBetween) + (*hoursBetween == 1 ? " powered hour" : " powered hours");
}

/// What a count did since the earlier reading, as an insertion: ", 8 more in 702 powered hours".
std::string growth(const Observation& observation, std::optional<std::int64_t> hoursBetween)
{
    if (!observation.before || observation.grown() < 0)
        return {};
    if (observation.grown() > 0)
        return ", " + decimalText(observation.grown(), observation.value.decimals) + " more " + since(hoursBetween);
    if (!hoursBetween)
        return ", none since the earlier reading";
    if (*hoursBetween == 0) // which says next to nothing
        return {};
    return ", none in the last " + std::to_string(*hoursBetween) +
           (*hoursBetween == 1 ? " powered hour" : " powered hours");
}

/// The number with one of two words: `words` is "sector|sectors".
std::string counted(Int128 number, unsigned decimals, std::string_view words)
{
    const auto bar = words.find('|');
    return decimalText(number, decimals) + ' ' +
           std::string(number == 1 && decimals == 0 ? words.substr(0, bar) : words.substr(bar + 1));
}

std::string replacement(std::string_view placeholder, const Observation& observation,
                        const std::optional<MeasuredRate>& rate, std::optional<std::int64_t> hoursBetween)
{
    const TypedValue& value = observation.value;
    const auto bar = placeholder.find('|');
    const std::string_view key = placeholder.substr(0, bar);
    if (bar != std::string_view::npos)
        return key == "grew" ? counted(observation.grown(), value.decimals, placeholder.substr(bar + 1))
                             : counted(value.number, value.decimals, placeholder.substr(bar + 1));
    if (key == "value")
        return decimalText(value);
    if (key == "limit")
        return observation.limit ? decimalText(*observation.limit) : std::string();
    if (key == "name")
        return observation.attribute ? std::string(observation.attribute->name) : std::string();
    if (key == "attribute")
        return observation.attribute ? std::to_string(observation.attribute->id) : std::string();
    if (key == "growth")
        return growth(observation, hoursBetween);
    if (key == "since")
        return since(hoursBetween);
    if (key == "rates")
        return rate ? rates(*rate) : std::string();
    return observation.detail;
}

} // namespace

std::string filledIn(std::string_view sentence, const Observation& observation, const std::optional<MeasuredRate>& rate,
                     std::optional<std::int64_t> hoursBetween)
{
    std::string text;
    for (;;) {
        const auto open = sentence.find('{');
        text += sentence.substr(0, open);
        if (open == std::string_view::npos)
            return text;
        const auto close = sentence.find('}', open);
        text += replacement(sentence.substr(open + 1, close - open - 1), observation, rate, hoursBetween);
        sentence.remove_prefix(close + 1);
    }
}

} // namespace vantorel::health
