// SPDX-License-Identifier: GPL-2.0-or-later
// How long the live machine takes to look at many disks, whose kernel files lie in a temporary folder.
#include "machines/linux/FakeSysfs.h"
#include "machines/linux/LinuxMachine.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <utility>

namespace {

using namespace vantorel;

/// SATA disks at one controller, each with two partitions.
void addDisks(const test::FakeSysfs& sysfs, int count)
{
    const std::string controller = "pci0000:00/0000:00:1f.2";
    sysfs.folder(controller, {{"class", "0x010601\n"}});
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        const std::string target =
            controller + "/ata" + number + "/host" + number + "/target" + number + ":0:0/" + number + ":0:0:0";
        const std::string disk = target + "/block/sd" + number + "x";
        sysfs.folder(target, {{"vendor", "ATA     \n"}, {"model", "WDC WD2003FYYS-0\n"}, {"rev", "1D01\n"}});
        sysfs.block(disk, 8, 16 * i, i, 3907029168,
                    "ID_PART_TABLE_TYPE=gpt\nID_ATA=1\nID_MODEL_ENC=WDC\\x20WD2003FYYS\n",
                    {{"queue/rotational", "1\n"}, {"queue/logical_block_size", "512\n"}, {"removable", "0\n"}});
        sysfs.link("sys/devices/" + disk + "/device", "../../../" + number + ":0:0:0");
        for (int part = 1; part <= 2; ++part)
            sysfs.block(disk + "/sd" + number + "x" + std::to_string(part), 8, 16 * i + part, i, 1000,
                        "DEVTYPE=partition\nID_FS_TYPE=ext4\nID_FS_USAGE=filesystem\n",
                        {{"partition", std::to_string(part) + "\n"}, {"start", "64\n"}});
    }
}

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
