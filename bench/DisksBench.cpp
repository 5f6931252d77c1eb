// SPDX-License-Identifier: GPL-2.0-or-later
// How long the registry of disks takes for many disks that arrive one by one, and what they leave behind when they go.
#include "support/DiskTree.h"
#include "support/TestMachine.h"
#include "system/registry/HandleTable.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/system/RunLoop.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

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
    static std::uint32_t last = 0;
    ++last;
    base::Uuid uuid;
    for (unsigned i = 0; i < 4; ++i)
        uuid.bytes[i] = static_cast<std::uint8_t>(last >> (8 * i));
    return {{"UUID", uuid.text()}};
}

enum Fleet { partitions, containers, logicalVolumes, mixed };

/// Adds what stands on a whole disk, 19 disks: partitions; or two, the second with an APFS container and its volumes;
/// or ten, nine of them with a CoreStorage volume. `spare` is a unit for what needs one of its own.
void addDisksOfDrive(test::DiskTree& tree, Fleet kind, test::DiskTree::Id drive, const std::string& name, int& spare)
{
    constexpr int disks = disksOfDrive - 1;
    const auto scheme = tree.add({drive}, "IOGUIDPartitionScheme", "IOGUIDPartitionScheme");
    const int slices = kind == containers ? 2 : kind == logicalVolumes ? 10 : disks;
    std::vector<test::DiskTree::Id> media;
    for (int slice = 1; slice <= slices; ++slice)
        media.push_back(tree.media(scheme, name + "s" + std::to_string(slice), "Partition", nextUuid()));
    if (kind == containers) {
        const std::string container = "disk" + std::to_string(spare++);
        const auto volumes = tree.container(media[1], container, nextUuid().get<std::string>("UUID").value());
        for (int slice = 1; slice < disks - slices; ++slice)
            tree.apfsVolume(volumes, container + "s" + std::to_string(slice), "Volume");
    }
    for (int slice = slices; slice < disks && kind == logicalVolumes; ++slice)
        tree.logicalVolume(media[static_cast<std::size_t>(slice - slices)], "disk" + std::to_string(spare++),
                           "Logical");
}

/// Drives of 20 disks each; of a mixed fleet every tenth has a container.
test::DiskTree manyDisks(int drives, Fleet fleet)
{
    test::DiskTree tree;
    int spare = drives;
    for (int unit = 0; unit < drives; ++unit) {
        const std::string name = "disk" + std::to_string(unit);
        const auto drive = tree.drive(name, "SAMSUNG SSD 850", {{"Serial Number", "S000"}});
        const Fleet kind = fleet != mixed ? fleet : unit % 10 == 0 ? containers : partitions;
        addDisksOfDrive(tree, kind, drive, name, spare);
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

/// From the first drive on, each disk before the one it stands on.
void goAway(const test::DiskTree& tree)
{
    std::size_t begin = 0;
    for (std::size_t end = 1; end <= tree.entries.size(); ++end) {
        if (end < tree.entries.size() && !tree.entries[end].parents.empty())
            continue; // of the same drive
        for (std::size_t i = end; i > begin; --i) {
            machine().remove(tree.entries[i - 1].id);
            settle();
        }
        begin = end;
    }
}

void changeEach(const std::vector<std::string>& names)
{
    static int round = 0;
    ++round;
    for (const std::string& name : names) {
        machine().setVolume(name, {"hfs", std::to_string(round), std::nullopt, std::nullopt, {}});
        settle();
    }
}

/// In seconds of processor time, so that other work on the machine does not count.
template <typename Operation>
double timeOf(Operation operation)
{
    const std::clock_t begin = std::clock();
    operation();
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

/// Every operation once for each of many disks, each taken up before the next.
void forEachDisk(benchmark::State& state, const char* operation, Fleet fleet)
{
    machine();
    const auto& registry = Vantorel::shared();
    const int drives = static_cast<int>(state.range(0)) / disksOfDrive;
    const auto tree = manyDisks(drives, fleet);
    const std::string_view what = operation;
    for (auto _ : state) {
        const double arrival = timeOf([&] { arrive(tree); });
        std::vector<std::string> names;
        for (const auto& disk : registry.disks())
            names.push_back(*disk->bsdName());
        if (names.size() != static_cast<std::size_t>(state.range(0)))
            state.SkipWithError("not every disk is tracked");
        double time = arrival;
        std::size_t found = 1;
        if (what == "change")
            time = timeOf([&] { changeEach(names); });
        if (what == "getDrive" || what == "getVolume") {
            found = 0;
            time = timeOf([&] {
                for (const std::string& name : names)
                    found +=
                        what == "getDrive" ? registry.getDrive(name) != nullptr : registry.getVolume(name) != nullptr;
            });
        }
        if (what == "getVolumes") {
            const auto all = registry.drives();
            time = timeOf([&] {
                for (const auto& drive : all)
                    found += registry.getVolumes(*drive).size();
            });
        }
        const double removal = timeOf([&] { goAway(tree); });
        state.SetIterationTime(what == "removal" ? removal : time);
        if (found == 0 || !registry.disks().empty())
            state.SkipWithError("nothing found, or something left");
    }
}

/// One drive with a container comes and goes; the counters show what is left after all rounds.
void comeAndGo(benchmark::State& state)
{
    machine();
    static_cast<void>(Vantorel::shared());
    const auto tree = manyDisks(1, containers);
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

#define FOR_EACH_DISK(name, ...)                                                                                       \
    BENCHMARK_CAPTURE(forEachDisk, name, __VA_ARGS__)                                                                  \
        ->Arg(16'000)                                                                                                  \
        ->Arg(32'000)                                                                                                  \
        ->UseManualTime()                                                                                              \
        ->Iterations(3)                                                                                                \
        ->Unit(benchmark::kMillisecond)

FOR_EACH_DISK(arrival, "arrival", mixed);
FOR_EACH_DISK(arrival_of_containers, "arrival", containers);
FOR_EACH_DISK(arrival_of_logical_volumes, "arrival", logicalVolumes);
FOR_EACH_DISK(change, "change", mixed);
FOR_EACH_DISK(removal, "removal", mixed);
FOR_EACH_DISK(get_drive, "getDrive", mixed);
FOR_EACH_DISK(get_volume, "getVolume", mixed);
FOR_EACH_DISK(get_volumes_of_each_drive, "getVolumes", logicalVolumes);
BENCHMARK(comeAndGo)->Iterations(5000)->Unit(benchmark::kMicrosecond);
