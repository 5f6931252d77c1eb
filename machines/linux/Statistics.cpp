// SPDX-License-Identifier: GPL-2.0-or-later
#include "Statistics.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace vantorel::machines {

namespace {

/// A field of `stat` (Documentation/block/stat.rst of the kernel) and what one of it is in the platform's unit.
struct Counter {
    std::size_t field;
    const char* key;
    std::uint64_t unit;
};

constexpr std::uint64_t sectorBytes = 512;
constexpr std::uint64_t nanosecondsInMillisecond = 1'000'000;
constexpr std::array<Counter, 6> counters{{{0, "Operations (Read)", 1},
                                           {2, "Bytes (Read)", sectorBytes},
                                           {3, "Total Time (Read)", nanosecondsInMillisecond},
                                           {4, "Operations (Write)", 1},
                                           {6, "Bytes (Write)", sectorBytes},
                                           {7, "Total Time (Write)", nanosecondsInMillisecond}}};
constexpr std::size_t fieldCount = 8;

} // namespace

std::optional<PropertyTable> readStatistics(const Folder& disk)
{
    const auto text = disk.text("stat");
    if (!text)
        return std::nullopt;
    std::array<std::uint64_t, fieldCount> fields{};
    std::string_view left = *text;
    for (std::uint64_t& field : fields) {
        left = stripped(left);
        const std::string_view word = left.substr(0, left.find_first_of(" \t"));
        const auto number = parseNumber(word);
        if (!number)
            return std::nullopt;
        field = *number;
        left.remove_prefix(word.size());
    }
    PropertyTable statistics;
    for (const Counter& counter : counters)
        statistics.emplace(counter.key, fields[counter.field] * counter.unit);
    if (const auto errors = disk.number("device/ioerr_cnt"))
        statistics.emplace("Errors", *errors);
    if (const auto timeouts = disk.number("device/iotmo_cnt"))
        statistics.emplace("Timeouts", *timeouts);
    return statistics;
}

} // namespace vantorel::machines
