// SPDX-License-Identifier: GPL-2.0-or-later
// The symbols of levels, and numbers on a scale.
#include "Drawings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

namespace vantorel::host {

namespace {

struct Symbol {
    std::string_view tone;
    const char* body;   ///< path of the filled shape; empty for none
    const char* lines;  ///< path of lines: on the shape in the colour of the paper, without one in that of the tone
    const char* colour; ///< where there is no style sheet
};

// On a square of 16 by 16.
constexpr Symbol symbolTable[] = {
    {"failing", "M5 1h6l4 4v6l-4 4H5l-4-4V5z", "M5.4 5.4l5.2 5.2M10.6 5.4l-5.2 5.2", "#b4123f"},
    {"atRisk", "M8 1.2L15.4 14.6H.6z", "M8 6v4.2M8 12.2v.6", "#b3440a"},
    {"watch", "M8 .8L15.2 8 8 15.2.8 8z", "M8 4.8v4M8 10.8v.6", "#8a6100"},
    {"good", "M8 1a7 7 0 1 1 0 14A7 7 0 0 1 8 1z", "M4.8 8.3l2.2 2.2 4.3-4.6", "#1c7441"},
    {"unknown", "", "M8 1.6a6.4 6.4 0 1 1 0 12.8A6.4 6.4 0 0 1 8 1.6zM6 6.4a2 2 0 1 1 2.6 1.9Q8 8.5 8 9.4M8 11.4v.5",
     "#5a6270"},
    {"unread", "", "M8 1.6a6.4 6.4 0 1 1 0 12.8A6.4 6.4 0 0 1 8 1.6zM3.5 12.5l9-9", "#8a6100"},
    {"none", "", "M8 1.6a6.4 6.4 0 1 1 0 12.8A6.4 6.4 0 0 1 8 1.6zM5 8h6", "#5a6270"},
};

const Symbol& symbolOf(std::string_view tone)
{
    const auto* const found = std::ranges::find(symbolTable, tone, &Symbol::tone);
    return found == std::end(symbolTable) ? *std::prev(std::end(symbolTable)) : *found;
}

std::string coordinate(double number)
{
    return fmt::format("{:.1f}", number);
}

/// A stretch of a scale.
struct Zone {
    double from;
    double to;
    std::string_view tone;
};

/// A number on a scale that begins at 0.
struct Scale {
    std::string title; ///< all that the drawing says, for who cannot see it
    double end;
    std::vector<Zone> zones; ///< one over the other
    std::vector<double> ticks;
    double needle;
};

constexpr double scaleWidth = 240;

Html scaleDrawing(const Scale& scale)
{
    const auto place = [&](double number) { return std::clamp(number / scale.end, 0.0, 1.0) * (scaleWidth - 8) + 4; };
    Html parts = tag("title", scale.title);
    parts += tag("rect", {{"class", "track"}, {"x", "0"}, {"y", "4"}, {"width", "240"}, {"height", "8"}, {"rx", "4"}});
    for (const Zone& zone : scale.zones) {
        const double width = std::max(place(zone.to) - place(zone.from), 0.5);
        parts += tag("rect", {{"class", zone.tone},
                              {"x", coordinate(place(zone.from))},
                              {"y", "4"},
                              {"width", coordinate(width)},
                              {"height", "8"}});
    }
    const auto line = [&](std::string_view kind, double number, const char* top, const char* bottom) {
        const std::string x = coordinate(place(number));
        return tag("line", {{"class", kind}, {"x1", x}, {"x2", x}, {"y1", top}, {"y2", bottom}});
    };
    for (const double tick : scale.ticks) {
        parts += line("tick", tick, "14", "17");
        const std::string_view anchor = place(tick) > scaleWidth - 12 ? "end" : tick > 0 ? "middle" : "start";
        const double x = anchor == "end" ? scaleWidth : anchor == "start" ? 0 : place(tick);
        parts += tag("text", {{"x", coordinate(x)}, {"y", "27"}, {"text-anchor", anchor}}, fmt::format("{:g}", tick));
    }
    parts += line("needle", scale.needle, "0", "16");
    return tag("svg", {{"class", "scale"}, {"viewBox", "0 0 240 30"}, {"role", "img"}}, parts);
}

double numberOf(const health::TypedValue& value)
{
    return static_cast<double>(value.number) / std::pow(10, value.decimals);
}

} // namespace

Html symbols()
{
    Html all;
    for (const Symbol& symbol : symbolTable) {
        const bool isFilled = *symbol.body != '\0';
        const Html shape = isFilled ? tag("path", {{"class", "shape"}, {"d", symbol.body}}) : Html();
        const Html lines = tag("path", {{"class", isFilled ? "inner" : "outline"}, {"d", symbol.lines}});
        all += tag("symbol", {{"id", fmt::format("mark-{}", symbol.tone)}, {"viewBox", "0 0 16 16"}}, shape, lines);
    }
    return tag("svg", {{"class", "symbols"}, {"width", "0"}, {"height", "0"}, {"aria-hidden", "true"}}, all);
}

Html mark(std::string_view tone)
{
    const std::string symbol = fmt::format("#mark-{}", symbolOf(tone).tone);
    return tag("svg", {{"class", fmt::format("mark {}", tone)}, {"viewBox", "0 0 16 16"}, {"aria-hidden", "true"}},
               tag("use", {{"href", symbol}}));
}

std::string iconFile(std::string_view tone)
{
    const Symbol& symbol = symbolOf(tone);
    const bool isFilled = *symbol.body != '\0';
    return fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 16 16" fill="none" stroke-width="1.8">)"
                       R"(<path d="{}" fill="{}"/><path d="{}" stroke="{}"/></svg>)",
                       symbol.body, symbol.colour, symbol.lines, isFilled ? "#fff" : symbol.colour);
}

Html temperatureDrawing(const health::TypedValue& temperature, const health::TemperatureLimits& limits)
{
    const double now = numberOf(temperature);
    const double warning = limits.warning ? limits.warning->celsius : limits.critical->celsius;
    const double critical = limits.critical ? limits.critical->celsius : warning;
    Scale scale{fmt::format("{} °C on a scale up to its limits", health::decimalText(temperature)),
                std::max({critical + 15, now + 5, 75.0}),
                {},
                {0, warning},
                now};
    const bool isBounded = temperature.minimum && temperature.maximum && *temperature.minimum <= *temperature.maximum;
    if (isBounded)
        scale.zones.push_back(
            {static_cast<double>(*temperature.minimum), static_cast<double>(*temperature.maximum), "range"});
    if (limits.warning)
        scale.zones.push_back({warning, limits.critical ? critical : scale.end, "watch"});
    if (limits.critical) {
        scale.zones.push_back({critical, scale.end, "atRisk"});
        if (critical != warning)
            scale.ticks.push_back(critical);
    }
    return scaleDrawing(scale);
}

Html wearDrawing(const health::TypedValue& used)
{
    const double now = numberOf(used);
    const double end = std::max(now, 100.0);
    const std::string_view tone = now >= 100 ? "atRisk" : now >= 90 ? "watch" : "good";
    return scaleDrawing({fmt::format("{} % of the rated life used", health::decimalText(used)),
                         end,
                         {{0, now, tone}},
                         {0, 50, 100},
                         now});
}

Html reserveDrawing(const health::TypedValue& left, std::optional<double> limit)
{
    const double now = numberOf(left);
    const std::string_view tone = limit && now < *limit ? "failing" : now <= 20 ? "watch" : "good";
    std::vector<double> ticks = {0, 100};
    if (limit && *limit > 0 && *limit < 100)
        ticks.push_back(*limit);
    return scaleDrawing({fmt::format("{} % of the reserve left", health::decimalText(left)),
                         100,
                         {{0, now, tone}},
                         std::move(ticks),
                         now});
}

} // namespace vantorel::host
