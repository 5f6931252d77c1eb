// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/JsonDocument.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/files/ReportFile.h"
#include "vantorel/base/Text.h"
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "vantorel/system/DiskArbitration.h"
#include "vantorel/system/Installation.h"
#include "vantorel/system/RunLoop.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

namespace vantorel::host {

namespace {

using recorded::Fault;
using recorded::Recording;

/// What a recorded machine holds.
struct Contents {
    std::size_t entries = 0;
    std::vector<std::string> disks; ///< device names of those there at the start
    std::size_t volumes = 0;
    std::size_t ataDrives = 0;
    std::size_t nvmeDrives = 0;
    std::size_t events = 0;
    std::vector<Fault> faults;
};

/// The disks that the service makes of a recording's entries.
std::vector<std::string> disksOf(Recording recording)
{
    system::install(std::make_unique<recorded::RecordedMachine>(std::move(recording), recorded::Playback::byHand));
    auto names = std::make_shared<std::vector<std::string>>();
    const system::DASessionRef session = system::DASessionCreate(system::kCFAllocatorDefault);
    system::DARegisterDiskAppearedCallback(
        session, nullptr,
        [names](const system::DADiskRef& disk, void*) {
            names->push_back(system::DADiskGetBSDName(disk).value_or(""));
        },
        nullptr);
    system::DASessionScheduleWithRunLoop(session, system::CFRunLoopGetCurrent(), system::kCFRunLoopDefaultMode);
    system::performPendingWork();
    return std::move(*names);
}

Contents inspect(const std::string& path)
{
    Recording recording = loadRecordingOrReport(path);
    Contents contents;
    contents.entries = recording.entries.size();
    contents.volumes = recording.volumes.size();
    for (const auto& [entry, drive] : recording.drives)
        ++(drive.kind == recorded::RecordedDrive::Kind::ata ? contents.ataDrives : contents.nvmeDrives);
    contents.events = recording.script.size();
    contents.faults = std::exchange(recording.faults, {});
    contents.disks = disksOf(std::move(recording));
    return contents;
}

std::string textOf(const Contents& contents)
{
    std::string text = fmt::format("registry entries  {}\ndisks             {}\nvolumes           {}\n"
                                   "drives            {} ATA, {} NVMe\nlater events      {}\nfaults            {}\n",
                                   contents.entries, contents.disks.size(), contents.volumes, contents.ataDrives,
                                   contents.nvmeDrives, contents.events, contents.faults.size());
    for (const Fault& fault : contents.faults)
        text += emphasised(printable(fault.text()), Emphasis::warning) + '\n';
    return text;
}

std::string jsonOf(const Contents& contents)
{
    Json json{
        {"format", documentFormat},    {"entries", contents.entries},     {"disks", Json::array()},
        {"volumes", contents.volumes}, {"ataDrives", contents.ataDrives}, {"nvmeDrives", contents.nvmeDrives},
        {"events", contents.events},   {"faults", Json::array()},
    };
    for (const std::string& disk : contents.disks)
        json["disks"].push_back(disk);
    for (const Fault& fault : contents.faults)
        json["faults"].push_back({{"file", base::toUtf8(fault.file)},
                                  {"place", base::toUtf8(fault.place)},
                                  {"fault", base::toUtf8(fault.fault)}});
    return json.dump(2) + '\n';
}

} // namespace

void addMachineCheck(CLI::App& app, int& status)
{
    CLI::App* const machine = app.add_subcommand("machine", "Recorded machines");
    machine->require_subcommand(1);
    CLI::App* const check = machine->add_subcommand("check", "What a recorded machine holds, and every fault in it");
    struct Arguments {
        std::string path;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    check->add_option("PATH", arguments->path, "A recording, a registry listing or a report, or sample:NAME")
        ->required();
    check->add_flag("--json", arguments->json, "Print as JSON");
    check->callback([arguments, &status] {
        const Contents contents = inspect(machinePath(arguments->path));
        print(arguments->json ? jsonOf(contents) : textOf(contents));
        status = contents.faults.empty() ? success : readFailed;
    });
}

} // namespace vantorel::host
