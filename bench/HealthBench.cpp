// SPDX-License-Identifier: GPL-2.0-or-later
// What a verdict costs beside the result that it is of.
#include "support/TestData.h"
#include "vantorel/health/VerdictJson.h"
#include "vantorel/smart/SmartController.h"

#include <benchmark/benchmark.h>

namespace vantorel::health {
namespace {

/// A disk with much to say, or a healthy SSD of a family with a row.
struct Drive {
    Data data;
    Data thresholds;
    Reading reading;

    Drive(const Data& sectors, std::string_view model, bool isSSD)
        : data(sectors.begin(), sectors.begin() + 512),
          thresholds(sectors.begin() + 512, sectors.end()),
          reading{.data = data, .thresholds = thresholds, .model = model, .isSSD = isSSD}
    {}
};

Drive brokenDisk()
{
    Data sectors = test::readTestData("ata/wd-aaks/data.bin");
    const Data thresholds = test::readTestData("ata/wd-aaks/thresholds.bin");
    sectors.insert(sectors.end(), thresholds.begin(), thresholds.end());
    return {sectors, "WDC WD5000AAKS-00TMA0", false};
}

Drive soundSsd()
{
    return {test::readTestData("fleet/INTEL_SSDSC2BB800G6-sdb.bin"), "INTEL SSDSC2BB800G6", true};
}

void run(benchmark::State& state, const Drive& drive)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(judge(drive.reading));
}

void diskWithManyReasons(benchmark::State& state)
{
    run(state, brokenDisk());
}
BENCHMARK(diskWithManyReasons);

void soundSsdOfAFamily(benchmark::State& state)
{
    run(state, soundSsd());
}
BENCHMARK(soundSsdOfAFamily);

void twoReadingsOfADisk(benchmark::State& state)
{
    const Drive drive = brokenDisk();
    for (auto _ : state)
        benchmark::DoNotOptimize(judge(drive.reading, drive.reading));
}
BENCHMARK(twoReadingsOfADisk);

void nvme(benchmark::State& state)
{
    const Data log = test::readTestData("fleet/CT250P2SSD8.bin");
    const Reading reading{.kind = Reading::Kind::nvme, .data = log, .isSSD = true};
    for (auto _ : state)
        benchmark::DoNotOptimize(judge(reading));
}
BENCHMARK(nvme);

void json(benchmark::State& state)
{
    const Verdict verdict = judge(brokenDisk().reading);
    for (auto _ : state)
        benchmark::DoNotOptimize(toJson(verdict));
}
BENCHMARK(json);

} // namespace
} // namespace vantorel::health
