// SPDX-License-Identifier: GPL-2.0-or-later
// How long the registry of disks takes for many disks that arrive one by one, and what they leave behind when they go.
#include "support/DiskTree.h"
#include "support/TestMachine.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/system/RunLoop.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <ranges>
#include <string>

#include <malloc.h>

using namespace vantorel;

namespace {

constexpr int disksOfDrive = 20;

test::TestMachine& machine()
{
    static test::TestMachine& installed = test::TestMachine::install();
    return installed;
}

PropertyTable nextUuid()
{
    static std::uint8_t last[2] = {};
    if (++last[0] == 0)
        ++last[1];
    base::Uuid uuid;
    uuid.bytes = {0xAA, last[1], last[0]};
    return {{"UUID", uuid.text()}};
}

/// Drives of 20 disks each. Every tenth has an APFS container on its second partition and volumes in it, the others
/// have partitions alone.
test::DiskTree manyDisks(int drives)
{
    test::DiskTree tree;
    for (int unit = 0; unit < drives; ++unit) {
        const std::string name = "disk" + std::to_string(unit);
        const auto drive = tree.drive(name, "SAMSUNG SSD 850", {{"Serial Number", "S000"}});
        const auto scheme = tree.add({drive}, "IOGUIDPartitionScheme", "IOGUIDPartitionScheme");
        const bool hasContainer = unit % 10 == 0;
        const int partitions = hasContainer ? 2 : disksOfDrive - 1;
        test::DiskTree::Id last = 0;
        for (int slice = 1; slice <= partitions; ++slice)
            last = tree.media(scheme, name + "s" + std::to_string(slice), "Partition", nextUuid());
        if (!hasContainer)
            continue;
        const std::string container = "disk" + std::to_string(drives + unit);
        const auto volumes = tree.container(last, container, nextUuid().get<std::string>("UUID").value());
        for (int slice = 1; slice < disksOfDrive - partitions - 1; ++slice)
            tree.apfsVolume(volumes, container + "s" + std::to_string(slice), "Volume");
    }
    return tree;
}

void settle()
{
    while (system::performPendingWork()) {
    }
}

void arrive(const test::DiskTree& tree)
{
    for (const auto& entry : tree.entries) {
        machine().arrive(entry);
        settle();
    }
}

void goAway(const test::DiskTree& tree)
{
    for (const auto& entry : std::views::reverse(tree.entries))
        machine().remove(entry.id);
    settle();
}

/// All disks arrive, each taken up before the next. That they go again is not measured.
void arriveOneByOne(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    machine();
    const auto& registry = Vantorel::shared();
    const int drives = static_cast<int>(state.range(0));
    const auto tree = manyDisks(drives);
    for (auto _ : state) {
        const auto begin = Clock::now();
        arrive(tree);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
        if (registry.disks().size() != static_cast<std::size_t>(drives) * disksOfDrive)
            state.SkipWithError("not every disk is tracked");
        goAway(tree);
    }
    state.counters["disks"] = drives * disksOfDrive;
    state.counters["left"] = static_cast<double>(registry.disks().size());
}

/// One drive with a container comes and goes; the counters show what is left after all rounds.
void comeAndGo(benchmark::State& state)
{
    machine();
    static_cast<void>(Vantorel::shared());
    const auto tree = manyDisks(1);
    const auto round = [&tree] {
        arrive(tree);
        goAway(tree);
    };
    for (int i = 0; i < 100; ++i)
        round();
    const auto before = mallinfo2().uordblks;
    for (auto _ : state)
        round();
    state.counters["arrivals"] = static_cast<double>(state.iterations()) * disksOfDrive;
    state.counters["handles"] = static_cast<double>(system::liveHandleCount());
    state.counters["bytes_grown"] = static_cast<double>(mallinfo2().uordblks) - static_cast<double>(before);
}

} // namespace

BENCHMARK(arriveOneByOne)->Arg(500)->Arg(1000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(comeAndGo)->Iterations(5000)->Unit(benchmark::kMicrosecond);
