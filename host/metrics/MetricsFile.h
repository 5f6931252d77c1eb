// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DriveMetrics.h"

#include <span>
#include <string>

namespace vantorel::host {

/// The form that belongs to a path: that of node_exporter for one that ends in ".prom", else OpenMetrics.
[[nodiscard]] MetricsFormat metricsFormatOf(const std::string& path);

/// Writes what there is to tell of these drives: to standard output for "-", else as a file that everybody may read
/// and that nobody sees half written. Throws `CommandError`.
void writeMetrics(std::span<const MeasuredDrive> drives, const std::string& path, MetricsFormat format);

} // namespace vantorel::host
