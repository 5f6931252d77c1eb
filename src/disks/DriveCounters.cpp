// SPDX-License-Identifier: GPL-2.0-or-later
#include "PropertyReading.h"
#include "RegistryWalk.h"
#include "vantorel/disks/Drive.h"

#include <string_view>
#include <utility>

namespace vantorel {

std::optional<std::map<std::string, double, std::less<>>> Drive::counters() const
{
    system::IOHandle media = ioService();
    if (!media)
        return std::nullopt;
    const auto driver = propertiesOfAncestor(std::move(media), 1);
    return driver ? tableOf<double>(*driver, "Statistics") : std::nullopt;
}

std::optional<DriveStatistics> Drive::statistics() const
{
    const auto all = counters();
    if (!all)
        return std::nullopt;
    const auto counter = [&all](std::string_view key) {
        const auto found = all->find(key);
        return found == all->end() ? 0.0 : found->second;
    };
    return DriveStatistics{
        .readOperations = counter("Operations (Read)"),
        .writeOperations = counter("Operations (Write)"),
        .readLatency = counter("Latency Time (Read)"),
        .writeLatency = counter("Latency Time (Write)"),
        .readBytes = counter("Bytes (Read)"),
        .writeBytes = counter("Bytes (Write)"),
        .readTotalTime = counter("Total Time (Read)"),
        .writeTotalTime = counter("Total Time (Write)"),
        .readErrors = counter("Errors (Read)"),
        .writeErrors = counter("Errors (Write)"),
        .readRetries = counter("Retries (Read)"),
        .writeRetries = counter("Retries (Write)"),
    };
}

} // namespace vantorel
