// SPDX-License-Identifier: GPL-2.0-or-later
#include "MetricsFile.h"

#include "host/files/OutputFile.h"

#include <cstdint>
#include <filesystem>

namespace vantorel::host {

MetricsFormat metricsFormatOf(const std::string& path)
{
    return std::filesystem::path(path).extension() == ".prom" ? MetricsFormat::classic : MetricsFormat::openMetrics;
}

void writeMetrics(std::span<const MeasuredDrive> drives, const std::string& path, MetricsFormat format)
{
    const std::vector<MetricFamily> families = driveMetrics(drives);
    const std::string text = metricsText(families, format);
    OutputFile file(path, OutputFile::Readers::everybody);
    file.write(DataView(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    file.commit();
}

} // namespace vantorel::host
