// SPDX-License-Identifier: GPL-2.0-or-later
// Whole results from saved bytes.
#include "support/TestData.h"
#include "vantorel/smart/SmartController.h"

#include <benchmark/benchmark.h>

#include <malloc.h>

namespace vantorel {
namespace {

struct Drive {
    Data data = test::readTestData("ata/wd-aaks/data.bin");
    Data thresholds = test::readTestData("ata/wd-aaks/thresholds.bin");
};

void ataModelSeenBefore(benchmark::State& state)
{
    const Drive drive;
    const std::string model = "WDC WD5000AAKS-00TMA0";
    for (auto _ : state)
        benchmark::DoNotOptimize(SmartController::shared().processExtractedSmart(drive.data, DataView(drive.thresholds),
                                                                                 false, false, model));
}
BENCHMARK(ataModelSeenBefore);

void ataModelNeverSeen(benchmark::State& state)
{
    const Drive drive;
    std::uint64_t number = 0;
    for (auto _ : state) {
        const std::string model = "ACME " + std::to_string(number++); // no row matches: all are looked at
        benchmark::DoNotOptimize(SmartController::shared().processExtractedSmart(drive.data, DataView(drive.thresholds),
                                                                                 false, false, model));
    }
}
BENCHMARK(ataModelNeverSeen);

void nvme(benchmark::State& state)
{
    const Data log = test::readTestData("nvme/smart.bin");
    for (auto _ : state)
        benchmark::DoNotOptimize(SmartController::shared().processExtractedSmart(log, {}, true, false, ""));
}
BENCHMARK(nvme);

/// The bytes in use on the heap after a million results less those after the first thousand.
void heapGrowthOverAMillionResults(benchmark::State& state)
{
    const Drive drive;
    const Data log = test::readTestData("nvme/smart.bin");
    for (auto _ : state) {
        std::size_t before = 0;
        for (int i = 0; i < 500'000; ++i) {
            const std::string model = "WDC WD5000AAKS-00TMA" + std::to_string(i % 1000);
            (void)SmartController::shared().processExtractedSmart(drive.data, DataView(drive.thresholds), false, false,
                                                                  model);
            (void)SmartController::shared().processExtractedSmart(log, {}, true, false, "");
            if (i == 1023)
                before = mallinfo2().uordblks;
        }
        state.counters["grown_bytes"] = static_cast<double>(mallinfo2().uordblks) - static_cast<double>(before);
    }
}
BENCHMARK(heapGrowthOverAMillionResults)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vantorel
