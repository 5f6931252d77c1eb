// SPDX-License-Identifier: GPL-2.0-or-later
#include "Drawings.h"

#include "documents/WholeNumber.h"
#include "host/views/Quantity.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>

namespace vantorel::host {

namespace {

// The drawing and the field in it on which the line runs.
constexpr double width = 320;
constexpr double height = 150;
constexpr double left = 58;
constexpr double right = 312;
constexpr double top = 10;
constexpr double bottom = 124;

/// Where the lines of an axis stand.
struct Ticks {
    double first;
    double step;
    int count;

    [[nodiscard]] double at(int i) const { return first + step * i; }
    [[nodiscard]] double last() const { return at(count - 1); }
};

/// Three to six ticks around a range, at 1, 2 or 5 times a power of ten; `isWhole`: at whole numbers alone.
Ticks ticksAround(double low, double high, bool isWhole)
{
    const double rough = std::max((high - low) / 4, std::max(std::abs(high), 1.0) * 1e-9);
    const double power = std::pow(10, std::floor(std::log10(rough)));
    double step = power * 10;
    for (const double factor : {5.0, 2.0, 1.0}) {
        if (power * factor >= rough)
            step = power * factor;
    }
    if (isWhole)
        step = std::max(step, 1.0);
    const double first = std::floor(low / step) * step;
    const int count = static_cast<int>(std::lround((std::ceil(high / step) * step - first) / step)) + 1;
    return {first, step, std::clamp(count, 2, 8)};
}

/// A number at a tick, short: "40", "1.25 M".
std::string tickText(double number, double step, health::Unit unit)
{
    if (unit == health::Unit::bytes && number >= 0)
        return sizeText(wholeNumber(number));
    struct Scale {
        double factor;
        const char* name;
    };
    constexpr Scale scales[] = {{1e15, " P"}, {1e12, " T"}, {1e9, " G"}, {1e6, " M"}, {1e4, " k"}, {0, ""}};
    const auto* const scale =
        std::ranges::find_if(scales, [&](const Scale& each) { return std::abs(number) >= each.factor; });
    const double factor = scale->factor == 0 ? 1 : scale->factor == 1e4 ? 1e3 : scale->factor;
    const int digits = std::clamp(static_cast<int>(std::ceil(-std::log10(step / factor) - 1e-9)), 0, 6);
    return fmt::format("{:.{}f}{}", number / factor, digits, scale->name);
}

std::string timeText(Time time, bool withHours)
{
    const auto seconds = static_cast<std::time_t>(time.time_since_epoch().count());
    return withHours ? fmt::format("{:%m-%d %H:%M}", fmt::gmtime(seconds))
                     : fmt::format("{:%Y-%m-%d}", fmt::gmtime(seconds));
}

Html label(double x, double y, std::string_view anchor, const std::string& text)
{
    return tag("text", {{"x", fmt::format("{:.1f}", x)}, {"y", fmt::format("{:.1f}", y)}, {"text-anchor", anchor}},
               text);
}

/// The field of a chart: where numbers and times lie in it, and the drawing of its parts.
class Field {
public:
    explicit Field(const Series& series)
        : series_(series), begin_(series.points.front().time), end_(series.points.back().time), ticks_(ticksOf(series))
    {}

    /// Lines and numbers of the upright axis.
    [[nodiscard]] Html numberAxis() const
    {
        Html axis;
        for (int i = 0; i < ticks_.count; ++i) {
            const double y = placeOf(ticks_.at(i));
            axis += tag("path", {{"class", "grid"}, {"d", fmt::format("M{} {:.1f}H{}", left, y, right)}});
            axis += label(left - 6, y + 4, "end", tickText(ticks_.at(i), ticks_.step, series_.unit));
        }
        return axis;
    }

    /// Dates at both ends and in the middle; hours as well where all lies within two days.
    [[nodiscard]] Html timeAxis() const
    {
        const bool withHours = end_ - begin_ < std::chrono::hours(48);
        Html axis = label(left, bottom + 18, "start", timeText(begin_, withHours));
        if (begin_ == end_)
            return axis;
        const Time middle = begin_ + (end_ - begin_) / 2;
        axis += label((left + right) / 2, bottom + 18, "middle", timeText(middle, withHours));
        axis += label(right, bottom + 18, "end", timeText(end_, withHours));
        return axis;
    }

    [[nodiscard]] Html line() const
    {
        std::string path;
        Html points;
        for (const Series::Point& point : series_.points) {
            const double x = placeOf(point.time);
            const double y = placeOf(point.number);
            path += fmt::format("{}{:.1f} {:.1f}", path.empty() ? "M" : "L", x, y);
            points += tag("circle", {{"cx", fmt::format("{:.1f}", x)}, {"cy", fmt::format("{:.1f}", y)}, {"r", "3"}},
                          tag("title", timeText(point.time, false) + ": " + point.text));
        }
        Html line = tag("path", {{"class", "line"}, {"d", path}});
        line += points;
        return line;
    }

private:
    static Ticks ticksOf(const Series& series)
    {
        const auto [low, high] = std::ranges::minmax(series.points, {}, &Series::Point::number);
        const bool isWhole = std::ranges::none_of(
            series.points, [](const auto& point) { return point.text.find('.') != std::string::npos; });
        return ticksAround(low.number, high.number, isWhole);
    }

    [[nodiscard]] double placeOf(double number) const
    {
        return bottom - (number - ticks_.first) / (ticks_.last() - ticks_.first) * (bottom - top);
    }

    [[nodiscard]] double placeOf(Time time) const
    {
        const auto whole = static_cast<double>((end_ - begin_).count());
        return whole == 0 ? left : left + static_cast<double>((time - begin_).count()) / whole * (right - left);
    }

    const Series& series_;
    Time begin_;
    Time end_;
    Ticks ticks_;
};

} // namespace

Html lineChart(const Series& series)
{
    const Field field(series);
    const std::string title = fmt::format("{}: from {} on {} to {} on {}", series.name, series.points.front().text,
                                          timeText(series.points.front().time, false), series.points.back().text,
                                          timeText(series.points.back().time, false));
    return tag("svg", {{"class", "chart"}, {"viewBox", fmt::format("0 0 {} {}", width, height)}, {"role", "img"}},
               tag("title", title), field.numberAxis(), field.timeAxis(), field.line());
}

} // namespace vantorel::host
