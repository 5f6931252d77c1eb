// SPDX-License-Identifier: GPL-2.0-or-later
#include "VerdictView.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <optional>

namespace vantorel::host {

namespace {

using health::Level;
using health::Reason;

constexpr std::size_t factIndent = 12;

/// Where the lines of a verdict stand.
struct Place {
    std::size_t lead;
    std::size_t column;

    [[nodiscard]] std::string named(std::string_view name) const
    {
        return fmt::format("{:{}}{:<{}}", "", lead, name, column - lead);
    }
};

std::string reasonLines(std::string_view name, const std::vector<Reason>& reasons, Place place)
{
    std::string text;
    for (const Reason& reason : reasons) {
        const std::string source = reason.source.empty() ? "" : fmt::format(" [{}]", reason.source);
        text += wrapped(printable(reason.sentence + source), screenWidth(), place.column + 2, place.named(name) + "- ");
        name = {};
    }
    return text;
}

} // namespace

std::string levelText(Level level)
{
    return level == Level::failing ? "FAILING" : std::string(words(level));
}

Emphasis emphasisOf(Level level)
{
    switch (level) {
    case Level::good:
        return Emphasis::none;
    case Level::watch:
    case Level::unknown:
        return Emphasis::warning;
    case Level::atRisk:
    case Level::failing:
        break;
    }
    return Emphasis::bad;
}

std::string factText(std::string_view name, std::string_view text)
{
    if (text.empty())
        return {};
    return wrapped(printable(text), screenWidth(), factIndent, fmt::format("{:<{}}", name, factIndent));
}

std::string verdictText(const health::Verdict& verdict, std::size_t lead, std::size_t column)
{
    const Place place{lead, column};
    const bool isGood = verdict.level == Level::good;
    std::string text = place.named("Verdict") +
                       emphasised(levelText(verdict.level), isGood ? Emphasis::good : emphasisOf(verdict.level)) +
                       (verdict.doubtful ? ", in doubt: the checksum is wrong\n" : "\n");
    text += reasonLines("", verdict.reasons, place);
    if (isGood)
        text += wrapped(fmt::format("{} [{}]", health::Verdict::promise, health::Verdict::promiseSource), screenWidth(),
                        column);
    return text + reasonLines("Set aside", verdict.setAside, place) + reasonLines("Note", verdict.notes, place);
}

Level levelOf(const health::Verdict& verdict, std::uint8_t attribute)
{
    const auto reason = std::ranges::find(verdict.reasons, attribute, &Reason::attribute);
    return reason == verdict.reasons.end() ? Level::good : reason->level;
}

std::string reasonsText(const health::Verdict& verdict)
{
    std::string text;
    for (const Reason& reason : verdict.reasons)
        text += wrapped(printable(reason.sentence), screenWidth(), 4, "  - ");
    return text;
}

std::string ageText(const health::Verdict& verdict)
{
    const std::optional<std::int64_t> hours = verdict.powerOnTime ? wholeHours(*verdict.powerOnTime) : std::nullopt;
    if (!hours)
        return "-";
    constexpr double hoursOfMonth = 365.25 * 24 / 12;
    const auto months = static_cast<std::int64_t>(static_cast<double>(*hours) / hoursOfMonth);
    if (months == 0)
        return fmt::format("{} d", *hours / 24);
    return months < 12 ? fmt::format("{} mo", months) : fmt::format("{} y {} mo", months / 12, months % 12);
}

std::string temperatureText(const health::Verdict& verdict)
{
    return verdict.temperature ? decimalText(*verdict.temperature) + " °C" : "-";
}

} // namespace vantorel::host
