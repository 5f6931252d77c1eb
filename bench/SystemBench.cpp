// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/TestEntries.h"
#include "support/TestMachine.h"
#include "system/registry/HandleTable.h"
#include "vantorel/machines/recorded/Loading.h"
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "vantorel/system/DiskArbitration.h"
#include "vantorel/system/Installation.h"
#include "vantorel/system/RunLoop.h"

#include <benchmark/benchmark.h>

#include <fstream>

using namespace vantorel;
using namespace vantorel::system;

namespace {

/// A session that asks for the description of each disk it hears of, as every client does.
class Client {
public:
    Client()
    {
        DARegisterDiskAppearedCallback(
            session_, nullptr,
            [](const DADiskRef& disk, void*) { benchmark::DoNotOptimize(DADiskCopyDescription(disk)); }, nullptr);
        DASessionScheduleWithRunLoop(session_, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    }
    ~Client() { DASessionUnscheduleFromRunLoop(session_, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

private:
    DASessionRef session_ = DASessionCreate(kCFAllocatorDefault);
};

void arriveDrive(test::TestMachine& machine, std::uint64_t first, std::uint64_t partitions)
{
    const std::string name = "disk" + std::to_string(first);
    for (RegistryEntry& entry : test::drive(first, name))
        machine.arrive(std::move(entry));
    for (std::uint64_t i = 1; i <= partitions; ++i)
        machine.arrive(test::media(first + 2 + i, name + "s" + std::to_string(i), false, first + 2));
}

/// Drives with 19 partitions each come one by one; the service tells and describes each disk.
void DisksArrive(benchmark::State& state)
{
    const auto drives = static_cast<std::uint64_t>(state.range(0)) / 20;
    for (auto _ : state) {
        test::TestMachine& machine = test::TestMachine::install();
        const Client client;
        for (std::uint64_t i = 0; i < drives; ++i) {
            arriveDrive(machine, 1 + 100 * i, 19);
            performPendingWork();
        }
        state.PauseTiming();
        test::TestMachine::install();
        performPendingWork();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(DisksArrive)->Arg(10'000)->Arg(20'000)->Unit(benchmark::kMillisecond);

std::int64_t residentKilobytes()
{
    std::ifstream status("/proc/self/statm");
    std::int64_t total = 0;
    std::int64_t resident = 0;
    status >> total >> resident;
    return resident * 4;
}

/// A disk comes and goes a hundred thousand times; what is left are no handles and no memory.
void DiskComesAndGoes(benchmark::State& state)
{
    test::TestMachine& machine = test::TestMachine::install();
    const Client client;
    std::int64_t before = 0;
    for (auto _ : state) {
        for (std::uint64_t i = 0; i < 100'000; ++i) {
            arriveDrive(machine, 1 + 100 * i, 0);
            machine.remove(1 + 100 * i);
            performPendingWork();
            if (i == 1000)
                before = residentKilobytes();
        }
    }
    state.counters["grown_kB"] = static_cast<double>(residentKilobytes() - before);
    state.counters["handles"] = static_cast<double>(liveHandleCount());
}
BENCHMARK(DiskComesAndGoes)->Iterations(1)->Unit(benchmark::kMillisecond);

/// A recorded machine from its files to the disk service.
void LoadSample(benchmark::State& state, const char* name)
{
    for (auto _ : state) {
        install(std::make_unique<recorded::RecordedMachine>(
            recorded::loadRecording(std::string(VANTOREL_SAMPLES "/machines/") + name), recorded::Playback::byHand));
    }
}
BENCHMARK_CAPTURE(LoadSample, laptop, "laptop")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadSample, tower, "tower")->Unit(benchmark::kMillisecond);

} // namespace
