// SPDX-License-Identifier: GPL-2.0-or-later
// How long the registry of disks takes for many disks that arrive one by one, and what it leaves behind.
#include "vantorel/disks/Vantorel.h"
#include "vantorel/system/Machine.h"
#include "vantorel/system/RunLoop.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include <malloc.h>

using namespace vantorel;

namespace {

/// A machine without disks, through which events are told by hand.
class SyntheticMachine : public system::Machine {
public:
    void start(system::MachineEvents& machineEvents) override { events = &machineEvents; }

    system::MachineEvents* events = nullptr;
};

SyntheticMachine& machine()
{
    static SyntheticMachine* const installed = [] {
        auto owned = std::make_unique<SyntheticMachine>();
        auto* const address = owned.get();
        system::install(std::move(owned));
        return address;
    }();
    return *installed;
}

/// Registry entries of drives with partitions; every tenth drive has an APFS container on its second partition, the
/// rest of its disks being volumes of it. With 20 disks a drive.
class Tree {
public:
    explicit Tree(int drives)
    {
        for (int unit = 0; unit < drives; ++unit)
            addDrive(unit, drives);
    }

    std::vector<system::RegistryEntry> entries;
    int disks = 0;

private:
    static constexpr int disksOfDrive = 20;

    std::uint64_t add(std::uint64_t parent, const char* className, PropertyTable properties)
    {
        const auto id = static_cast<std::uint64_t>(entries.size()) + 1;
        std::vector<std::uint64_t> parents;
        if (parent)
            parents.push_back(parent);
        entries.push_back({id, className, {}, className, {}, std::move(parents), std::move(properties)});
        return id;
    }

    std::uint64_t addMedia(std::uint64_t parent, const char* className, const std::string& name, int unit, bool whole,
                           std::uint64_t uuid)
    {
        ++disks;
        return add(parent, className,
                   {{"BSD Name", name},
                    {"BSD Unit", unit},
                    {"BSD Major", 1},
                    {"BSD Minor", disks},
                    {"Content", "41504653-0000-11AA-AA11-00306543ECAC"},
                    {"Ejectable", false},
                    {"Leaf", !whole},
                    {"Preferred Block Size", 4096},
                    {"Removable", false},
                    {"Size", 500'277'792'768 + disks},
                    {"UUID", fmt::format("AAAAAAAA-0000-4000-8000-{:012X}", uuid)},
                    {"Whole", whole},
                    {"Writable", true}});
    }

    void addDrive(int unit, int drives)
    {
        const auto device = add(0, "IOAHCIBlockStorageDevice",
                                {{"Device Characteristics", PropertyTable{{"Product Name", "SAMSUNG SSD 850"},
                                                                          {"Serial Number", "S000"},
                                                                          {"Medium Type", "Solid State"}}},
                                 {"Protocol Characteristics", PropertyTable{{"Physical Interconnect", "SATA"}}}});
        const auto driver = add(device, "IOBlockStorageDriver", {{"Statistics", PropertyTable{}}});
        const auto whole = addMedia(driver, "IOMedia", fmt::format("disk{}", unit), unit, true, uuid());
        const auto scheme = add(whole, "IOGUIDPartitionScheme", {});
        const bool hasContainer = unit % 10 == 0;
        std::uint64_t store = 0;
        std::uint64_t container = 0;
        for (int slice = 1; slice < disksOfDrive; ++slice) {
            if (hasContainer && slice > 3) {
                addMedia(container, "AppleAPFSVolume", fmt::format("disk{}s{}", drives + unit, slice), drives + unit,
                         false, uuid());
                continue;
            }
            if (hasContainer && slice == 3) {
                const auto apfs = add(store, "AppleAPFSContainerScheme", {});
                const auto media =
                    addMedia(apfs, "AppleAPFSMedia", fmt::format("disk{}", drives + unit), drives + unit, true, uuid());
                entries.back().name = "AppleAPFSMedia";
                container = add(media, "AppleAPFSContainer", {});
                continue;
            }
            store = addMedia(scheme, "IOMedia", fmt::format("disk{}s{}", unit, slice), unit, false, uuid());
        }
    }

    std::uint64_t uuid() { return ++lastUuid_; }

    std::uint64_t lastUuid_ = 0;
};

void settle()
{
    while (system::performPendingWork()) {
    }
}

/// All disks of `drives` drives arrive, each taken up before the next; their removal is not measured.
void arriveOneByOne(benchmark::State& state)
{
    const Tree tree(static_cast<int>(state.range(0)));
    auto& registry = Vantorel::shared();
    for (auto _ : state) {
        auto entries = tree.entries;
        const auto begin = std::chrono::steady_clock::now();
        for (auto& entry : entries) {
            machine().events->entryArrived(std::move(entry));
            settle();
        }
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
        if (registry.disks().size() != static_cast<std::size_t>(tree.disks))
            state.SkipWithError(fmt::format("{} of {} disks are tracked", registry.disks().size(), tree.disks).c_str());
        for (auto entry = tree.entries.rbegin(); entry != tree.entries.rend(); ++entry)
            machine().events->entryRemoved(entry->id);
        settle();
    }
    state.counters["disks"] = tree.disks;
    state.counters["left"] = static_cast<double>(registry.disks().size());
}

/// One drive with a container comes and goes; the counters show what is left after many rounds.
void comeAndGo(benchmark::State& state)
{
    const Tree tree(1);
    static_cast<void>(Vantorel::shared());
    const auto round = [&tree] {
        for (const auto& entry : tree.entries)
            machine().events->entryArrived(entry);
        settle();
        for (auto entry = tree.entries.rbegin(); entry != tree.entries.rend(); ++entry)
            machine().events->entryRemoved(entry->id);
        settle();
    };
    for (int i = 0; i < 100; ++i)
        round();
    const auto before = mallinfo2().uordblks;
    for (auto _ : state)
        round();
    state.counters["arrivals"] = static_cast<double>(state.iterations()) * tree.disks;
    state.counters["handles"] = static_cast<double>(system::liveHandleCount());
    state.counters["bytes_grown"] = static_cast<double>(mallinfo2().uordblks) - static_cast<double>(before);
}

} // namespace

BENCHMARK(arriveOneByOne)->Arg(500)->Arg(1000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(comeAndGo)->Iterations(5000)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
