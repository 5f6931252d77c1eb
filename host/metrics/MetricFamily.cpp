// SPDX-License-Identifier: GPL-2.0-or-later
#include "MetricFamily.h"

#include "host/console/Text.h"
#include "vantorel/base/Text.h"

#include <fmt/format.h>

namespace vantorel::host {

namespace {

std::string quoted(std::string_view value)
{
    const std::string escaped = base::replacingAll(printable(value), "\\", "\\\\");
    return '"' + base::replacingAll(escaped, "\"", "\\\"") + '"';
}

std::string_view endingOf(MetricType type)
{
    switch (type) {
    case MetricType::counter:
        return "_total";
    case MetricType::info:
        return "_info";
    case MetricType::gauge:
        break;
    }
    return "";
}

std::string_view nameOf(MetricType type, MetricsFormat format)
{
    switch (type) {
    case MetricType::counter:
        return "counter";
    case MetricType::info:
        return format == MetricsFormat::openMetrics ? "info" : "gauge";
    case MetricType::gauge:
        break;
    }
    return "gauge";
}

} // namespace

void MetricFamily::add(const MetricLabels& labels, std::string_view number)
{
    std::string text;
    for (const auto& [name, value] : labels) {
        if (!value.empty())
            text += fmt::format("{}{}={}", text.empty() ? "{" : ",", name, quoted(value));
    }
    if (!text.empty())
        text += '}';
    if (seen_.insert(text).second)
        lines_.push_back(fmt::format("{} {}\n", text, number));
}

std::string MetricFamily::text(MetricsFormat format) const
{
    if (lines_.empty())
        return "";
    const bool isOpen = format == MetricsFormat::openMetrics;
    const MetricDescription& about = *description_;
    const std::string sample = fmt::format("{}{}", about.name, endingOf(about.type));
    // The older format describes samples, the newer one the family.
    const std::string_view described = isOpen ? about.name : std::string_view(sample);
    std::string text =
        fmt::format("# HELP {0} {1}\n# TYPE {0} {2}\n", described, about.help, nameOf(about.type, format));
    if (isOpen && !about.unit.empty())
        text += fmt::format("# UNIT {} {}\n", described, about.unit);
    for (const std::string& line : lines_)
        text += sample + line;
    return text;
}

std::string metricsText(std::span<const MetricFamily> families, MetricsFormat format)
{
    std::string text;
    for (const MetricFamily& family : families)
        text += family.text(format);
    return format == MetricsFormat::openMetrics ? text + "# EOF\n" : text;
}

} // namespace vantorel::host
