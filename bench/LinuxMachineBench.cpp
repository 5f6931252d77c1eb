// SPDX-License-Identifier: GPL-2.0-or-later
// How long the live machine takes to look at many disks, whose kernel files lie in a temporary folder.
#include "ManyDisks.h"
#include "machines/linux/LinuxMachine.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <utility>

namespace {

using namespace vantorel;
using bench::addDisks;

class Silence final : public system::MachineEvents {
public:
    void entryArrived(system::RegistryEntry entry) override { benchmark::DoNotOptimize(entry); }
    void entryChanged(std::uint64_t /*id*/, PropertyTable /*properties*/) override {}
    void entryRemoved(std::uint64_t /*id*/) override {}
    void volumeChanged(std::string /*bsdName*/, system::VolumeFacts /*facts*/) override {}
};

void firstLook(benchmark::State& state)
{
    const test::FakeSysfs sysfs;
    addDisks(sysfs, static_cast<int>(state.range(0)));
    Silence silence;
    for (auto _ : state) {
        machines::LinuxMachine machine({.sysfs = sysfs.sysfs(), .readsSuperblocks = false});
        machine.start(silence);
    }
}
BENCHMARK(firstLook)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);

/// What one event costs: one disk is read again, and all are compared with what was told.
void lookAfterAnEvent(benchmark::State& state)
{
    const test::FakeSysfs sysfs;
    addDisks(sysfs, static_cast<int>(state.range(0)));
    const machines::ScanSources sources{.sysfs = sysfs.sysfs(), .etc = sysfs.path("etc")};
    machines::Attachments attachments;
    machines::EntryLedger ledger;
    Silence silence;
    machines::SystemScan scan = machines::scanSystem(sources);
    for (auto _ : state) {
        scan = machines::scanSystem(sources, &scan, {"sd5x"});
        attachments.assign(scan, {});
        ledger.tell(machines::registryEntries(scan, nullptr), {}, silence);
    }
}
BENCHMARK(lookAfterAnEvent)->Arg(10)->Arg(1000)->Unit(benchmark::kMillisecond);

} // namespace
