// SPDX-License-Identifier: GPL-2.0-or-later
#include "VerdictView.h"

#include <fmt/format.h>

#include <cstdint>
#include <optional>

namespace vantorel::host {

namespace {

using health::Level;
using health::Reason;

constexpr std::size_t factIndent = 12;

std::string reasonLines(std::string_view name, const std::vector<Reason>& reasons)
{
    std::string text;
    for (const Reason& reason : reasons) {
        const std::string source = reason.source.empty() ? "" : fmt::format(" [{}]", reason.source);
        text += wrapped(printable(reason.sentence + source), screenWidth(), factIndent + 2,
                        fmt::format("{:<{}}- ", name, factIndent));
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

std::string verdictText(const health::Verdict& verdict)
{
    std::string text = fmt::format(
        "{:<{}}{}{}\n", "Verdict", factIndent,
        emphasised(levelText(verdict.level), verdict.level == Level::good ? Emphasis::good : emphasisOf(verdict.level)),
        verdict.doubtful ? ", in doubt: the checksum is wrong" : "");
    text += reasonLines("", verdict.reasons);
    if (verdict.level == Level::good)
        text += factText("", fmt::format("{} [{}]", health::Verdict::promise, health::Verdict::promiseSource));
    return text + reasonLines("Set aside", verdict.setAside) + reasonLines("Note", verdict.notes);
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
