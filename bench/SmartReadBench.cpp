// SPDX-License-Identifier: GPL-2.0-or-later
// Whole reads of recorded drives: walk, plug-in, commands and processing.
#include "vantorel/disks/Vantorel.h"
#include "vantorel/machines/recorded/Loading.h"
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "vantorel/smart/SmartController.h"
#include "vantorel/system/Installation.h"
#include "vantorel/system/RunLoop.h"

#include <benchmark/benchmark.h>

namespace vantorel {
namespace {

std::shared_ptr<Drive> driveOf(const char* machine, const char* bsdName)
{
    auto recording = recorded::loadRecording(std::string(VANTOREL_SAMPLES "/machines/") + machine);
    system::install(std::make_unique<recorded::RecordedMachine>(std::move(recording), recorded::Playback::byHand));
    static_cast<void>(Vantorel::shared());
    while (system::performPendingWork()) {
    }
    return Vantorel::shared().getDrive(bsdName);
}

void ataRead(benchmark::State& state)
{
    const auto drive = driveOf("tower", "disk1");
    for (auto _ : state)
        benchmark::DoNotOptimize(SmartController::shared().getATASmartData(*drive));
}
BENCHMARK(ataRead)->Unit(benchmark::kMicrosecond);

void nvmeRead(benchmark::State& state)
{
    const auto drive = driveOf("laptop", "disk0");
    for (auto _ : state)
        benchmark::DoNotOptimize(SmartController::shared().getNVMeSmartData(*drive));
}
BENCHMARK(nvmeRead)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace vantorel

BENCHMARK_MAIN();
