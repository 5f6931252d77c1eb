// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantorel::host {

/// The two text formats that a Prometheus server takes.
enum class MetricsFormat : std::uint8_t {
    openMetrics, ///< OpenMetrics 1.0
    classic,     ///< text format 0.0.4, the one that node_exporter reads out of files
};

enum class MetricType : std::uint8_t {
    gauge,
    counter, ///< its samples end in `_total`
    info,    ///< its samples end in `_info` and are 1
};

/// What the samples of a family have in common.
struct MetricDescription {
    std::string_view name; ///< without the ending of the type; with the unit at its end, if it has one
    MetricType type = MetricType::gauge;
    std::string_view unit; ///< a base unit, or empty
    std::string_view help; ///< one sentence
};

/// Names and values; one with an empty value counts as missing and is left out. A name is ours, a value may be
/// anything: it comes out as UTF-8, with a blank for each control character.
using MetricLabels = std::vector<std::pair<std::string_view, std::string>>;

/// Samples of one name.
class MetricFamily {
public:
    explicit MetricFamily(const MetricDescription& description) : description_(&description) {}

    /// `number`: decimal digits. A second sample with the same labels is dropped: a server would refuse all there is.
    void add(const MetricLabels& labels, std::string_view number);

    /// With its describing lines; empty when there is no sample.
    [[nodiscard]] std::string text(MetricsFormat format) const;

private:
    const MetricDescription* description_; ///< lasts for ever
    std::vector<std::string> lines_;       ///< behind the name: labels and number
    std::set<std::string> seen_;
};

/// A whole exposition.
[[nodiscard]] std::string metricsText(std::span<const MetricFamily> families, MetricsFormat format);

} // namespace vantorel::host
