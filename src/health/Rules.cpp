// SPDX-License-Identifier: GPL-2.0-or-later
#include "Rules.h"

#include <algorithm>
#include <array>

namespace vantorel::health {

namespace {

using enum DriveKind;
using enum Level;
using enum Signal;
using enum When;

// Sources that several rules have.
constexpr std::string_view acs = "ATA8-ACS, SMART RETURN STATUS";
constexpr std::string_view sff = "SFF-8035i";
constexpr std::string_view nvmeSpec = "NVM Express Base Specification, SMART / Health Information";
constexpr std::string_view backblaze = "Backblaze drive data as evaluated by Scrutiny (MIT)";
constexpr std::string_view fast2016 = "Schroeder, Lagisetty, Merchant: Flash Reliability in Production, FAST 2016";
constexpr std::string_view endurance = "NVMe, Percentage Used; the makers' wear indicators; judgement";
constexpr std::string_view judgement = "judgement";

constexpr Rule rules[] = {
#include "Rules.inc"
};

constexpr ClearWords wordsOfClear[] = {
#include "ClearWords.inc"
};

struct Range {
    std::uint8_t first = 0;
    std::uint8_t count = 0;
};

constexpr std::size_t signals = static_cast<std::size_t>(allClear) + 1;

/// Where the rules of each signal stand. Compiling fails when those of one stand apart.
constexpr std::array<Range, signals> ranges = [] {
    std::array<Range, signals> result{};
    for (std::size_t i = 0; i < std::size(rules); ++i) {
        Range& range = result[static_cast<std::size_t>(rules[i].signal)];
        if (range.count == 0)
            range.first = static_cast<std::uint8_t>(i);
        else if (range.first + range.count != i)
            throw "the rules of a signal stand apart";
        ++range.count;
    }
    return result;
}();
static_assert(std::ranges::all_of(ranges, [](const Range& range) { return range.count > 0; }));

} // namespace

std::span<const Rule> rulesOf(Signal signal)
{
    const Range range = ranges[static_cast<std::size_t>(signal)];
    return std::span(rules).subspan(range.first, range.count);
}

std::span<const Rule> allRules()
{
    return rules;
}

std::span<const ClearWords> clearWords()
{
    return wordsOfClear;
}

std::string_view words(Level level)
{
    constexpr std::array<std::string_view, 5> texts = {"good", "watch", "at risk", "failing", "unknown"};
    return texts[static_cast<std::size_t>(level)];
}

} // namespace vantorel::health
