// SPDX-License-Identifier: GPL-2.0-or-later
#include "MachineChoice.h"

#include "host/Command.h"
#include "host/files/ReportFile.h"
#include "machines/recorded/RecordedMachine.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/system/Installation.h"
#include "vantorel/system/MessageSink.h"
#include "vantorel/system/RunLoop.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace vantorel::host {

namespace {

constexpr const char* machineOption = "--machine";

/// The laptop sample: as installed beside this program, or else in the source tree that it was built from.
std::string samplePath()
{
    std::error_code ignored;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
    const auto installed = (program.parent_path() / VANTOREL_INSTALLED_MACHINES / "laptop").lexically_normal();
    if (std::filesystem::exists(installed, ignored))
        return installed;
    return VANTOREL_SOURCE_MACHINES "/laptop";
}

void tellFaults(const std::vector<recorded::Fault>& faults, const std::string& path)
{
    constexpr std::size_t most = 3;
    for (std::size_t i = 0; i < std::min(faults.size(), most); ++i)
        complain(faults[i].file, faults[i].place + ": " + faults[i].fault);
    if (faults.size() > most)
        complain(path, fmt::format("{} more faults; `vantorel machine check` tells all", faults.size() - most));
}

} // namespace

void addMachineOption(CLI::App& app)
{
    app.add_option(machineOption, "The machine to look at: a recording, a registry listing or a report; else a sample")
        ->type_name("PATH");
}

std::string startMachine(const CLI::App& app, LaterEvents laterEvents)
{
    system::setMessageSink([](std::string_view line) { fmt::print(stderr, "{}\n", line); });
    std::string path;
    if (const auto* const option = app.get_option(machineOption); option->count() > 0) {
        path = option->as<std::string>();
    } else {
        path = samplePath();
        fmt::print(stderr, "vantorel: no --machine given: this is the sample {}\n", path);
    }
    auto recording = loadRecordingOrReport(path);
    tellFaults(recording.faults, path);
    const auto playback = laterEvents == LaterEvents::happen ? recorded::Playback::inTime : recorded::Playback::byHand;
    system::install(std::make_unique<recorded::RecordedMachine>(std::move(recording), playback));
    static_cast<void>(Vantorel::shared());
    return path;
}

std::string loadMachine(const CLI::App& app, LaterEvents laterEvents)
{
    std::string path = startMachine(app, laterEvents);
    while (system::performPendingWork()) {
    }
    return path;
}

} // namespace vantorel::host
