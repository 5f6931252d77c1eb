// SPDX-License-Identifier: GPL-2.0-or-later
// What five years of half-hourly readings of 20 drives take, and what it costs to judge beside them:
//   history_bench FILE
#include "health/Readings.h"
#include "host/history/History.h"
#include "support/TestData.h"
#include "vantorel/smart/SmartController.h"

#include <fmt/format.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <random>

using namespace vantorel;
using namespace vantorel::host;
using health::JudgedReading;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int years = 5;
constexpr int readingsAYear = 48 * 365;
constexpr Timestamp halfHour = 30 * 60 * 1000;
constexpr Timestamp start = 1'600'000'000'000;

double milliseconds(Clock::time_point since)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

/// The drive of a number as it is after so many half hours: disks with rates that change all the time, and SSDs.
JudgedReading readingOf(int drive, std::uint64_t time, std::mt19937& random)
{
    const std::string serial = fmt::format("BENCH{:04}", drive);
    const std::uint64_t work = time * (700'000 + 1000 * static_cast<std::uint64_t>(drive)) + random() % 500'000;
    if (drive % 2 == 0) {
        const std::uint64_t heat = 28 + random() % 12;
        const test::AtaDrive disk({{1, random()},
                                   {3, 0},
                                   {4, 40 + time / 900},
                                   {5, time / 40'000},
                                   {7, random() & 0xFFFFFFF},
                                   {9, time / 2},
                                   {10, 0},
                                   {12, 40 + time / 900},
                                   {187, 0},
                                   {188, 0},
                                   {190, heat},
                                   {193, 100 + time / 3},
                                   {194, heat},
                                   {195, random()},
                                   {197, 0},
                                   {198, 0},
                                   {199, 0},
                                   {240, time / 2},
                                   {241, work},
                                   {242, 3 * work}});
        auto result = SmartController::shared().ataSmartController().processExportedSmart(
            disk.data, disk.thresholds, false, {"BENCH Disk", serial, "1.0"});
        return JudgedReading({*std::move(result), {}, false, false});
    }
    NVMeSMARTLog log = test::healthyLog();
    const auto set = [](auto& field, std::uint64_t number) { std::memcpy(&field, &number, sizeof number); };
    log.temperature[0] = static_cast<std::uint8_t>(0x30 + random() % 12);
    set(log.power_on_hours, time / 2);
    set(log.data_units_read, work / 1000);
    set(log.data_units_written, work / 900);
    set(log.host_reads, 30 * work);
    set(log.host_writes, 20 * work);
    set(log.ctrl_busy_time, time / 7);
    auto result = *SmartController::shared().nvmeSmartController().processExportedSmart(recordBytes(log));
    result.deviceInfo = {"BENCH NVMe", serial, "1.0", {}};
    Data identify(4096);
    std::memcpy(identify.data() + 4, serial.data(), serial.size());
    return JudgedReading({SmartObject(std::move(result)), identify, {}, true}, recordBytes(log));
}

void fill(const std::string& path, std::mt19937& random)
{
    HistoryStore store(path, HistoryStore::Use::write);
    const auto begin = Clock::now();
    for (std::uint64_t month = 0; month < 12 * years; ++month) {
        auto change = store.transaction();
        const std::uint64_t first = month * readingsAYear / 12;
        for (std::uint64_t time = first; time < first + readingsAYear / 12; ++time) {
            for (int drive = 0; drive < 20; ++drive)
                static_cast<void>(
                    keep(store, readingOf(drive, time, random), "M", start + static_cast<Timestamp>(time) * halfHour));
        }
        change.commit();
    }
    fmt::print("20 drives, {} years: kept in {:.0f} s\n", years, milliseconds(begin) / 1000);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return 1;
    const std::string path = argv[1];
    std::mt19937 random(1);
    fill(path, random);
    fmt::print("size: {:.1f} MB\n", static_cast<double>(std::filesystem::file_size(path)) / 1e6);

    constexpr std::uint64_t now = years * readingsAYear;
    constexpr Timestamp nowTime = start + static_cast<Timestamp>(now) * halfHour;
    std::vector<JudgedReading> readings;
    for (int drive = 0; drive < 100; ++drive)
        readings.push_back(readingOf(drive, now, random));
    for (int round = 0; round < 3; ++round) {
        const auto begin = Clock::now();
        HistoryStore store(path, HistoryStore::Use::read);
        for (int drive = 0; drive < 20; ++drive)
            judgeBeside(store, readings[static_cast<std::size_t>(drive)], nowTime);
        fmt::print("20 drives judged beside it: {:.2f} ms\n", milliseconds(begin));
    }
    for (int round = 0; round < 3; ++round) {
        const auto begin = Clock::now();
        HistoryStore store(path, HistoryStore::Use::write);
        auto change = store.transaction();
        for (JudgedReading& reading : readings) {
            judgeBeside(store, reading, nowTime);
            static_cast<void>(keep(store, reading, "M", nowTime + round * halfHour));
        }
        change.commit();
        fmt::print("100 drives judged and kept: {:.2f} ms\n", milliseconds(begin));
    }
}
