// SPDX-License-Identifier: GPL-2.0-or-later
#include "MachineChoice.h"

#include "host/console/Output.h"
#include "host/opening/MachineOpening.h"
#include "vantorel/disks/Vantorel.h"
#include "vantorel/machines/linux/ThisComputer.h"
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "vantorel/system/Installation.h"
#include "vantorel/system/MessageSink.h"
#include "vantorel/system/RunLoop.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/auxv.h>

namespace vantorel::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* wakeOption = "--wake";

/// Where the samples lie, told from where this program lies.
fs::path samplesFolder()
{
    std::error_code fault;
    fs::path program = fs::read_symlink("/proc/self/exe", fault);
    if (fault) // without /proc, as in a bare chroot: the path that it was started by
        program = fs::canonical(reinterpret_cast<const char*>(getauxval(AT_EXECFN)), fault); // NOLINT(*-no-int-to-ptr)
    return (program.parent_path() / VANTOREL_SAMPLE_MACHINES).lexically_normal();
}

void tellFaults(const std::vector<recorded::Fault>& faults, const std::string& path)
{
    constexpr std::size_t most = 3;
    for (std::size_t i = 0; i < std::min(faults.size(), most); ++i)
        complain(faults[i].file, faults[i].place + ": " + faults[i].fault);
    if (faults.size() > most)
        complain(path, fmt::format("{} more faults; `vantorel machine check` tells all", faults.size() - most));
}

/// The recorded machine at a path, or the sample of a name.
std::unique_ptr<system::Machine> recordedMachine(std::string& path, LaterEvents laterEvents)
{
    path = machinePath(path);
    auto recording = loadRecordingOrReport(path);
    tellFaults(recording.faults, path);
    const auto playback = laterEvents == LaterEvents::happen ? recorded::Playback::inTime : recorded::Playback::byHand;
    return std::make_unique<recorded::RecordedMachine>(std::move(recording), playback);
}

void start(std::unique_ptr<system::Machine> machine)
{
    system::setMessageSink([](std::string_view line) { tell(line); });
    system::install(std::move(machine));
    static_cast<void>(Vantorel::shared());
}

void letDisksArrive()
{
    while (system::performPendingWork()) {
    }
}

} // namespace

std::vector<std::string> sampleNames()
{
    std::vector<std::string> names;
    std::error_code failure;
    for (const auto& entry : fs::directory_iterator(samplesFolder(), failure))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

std::string machinePath(const std::string& text)
{
    if (!text.starts_with(samplePrefix))
        return text;
    const std::string name = text.substr(samplePrefix.size());
    const std::vector<std::string> names = sampleNames();
    if (std::ranges::find(names, name) != names.end())
        return samplesFolder() / name;
    throw CommandError(text, names.empty()
                                 ? fmt::format("there are no samples in {}", samplesFolder().string())
                                 : fmt::format("there is no such sample; there are {}", fmt::join(names, ", ")));
}

void addMachineOptions(CLI::App& app)
{
    auto* const path =
        app.add_option(machineOption, "Look at a recording, a registry listing or a report in place of this computer; "
                                      "sample:NAME is one that comes with this program")
            ->type_name("PATH");
    app.add_flag(wakeOption)->description("Read drives that sleep, too, which wakes them")->excludes(path);
}

bool isThisComputer(const CLI::App& app)
{
    return app.get_option(machineOption)->count() == 0;
}

ChosenMachine chosenMachine(const CLI::App& app, LaterEvents laterEvents)
{
    const auto* const option = app.get_option(machineOption);
    if (isThisComputer(app))
        return {thisComputer(app.get_option(wakeOption)->count() > 0), thisComputerName};
    ChosenMachine chosen{nullptr, option->as<std::string>()};
    chosen.machine = recordedMachine(chosen.path, laterEvents);
    return chosen;
}

std::string startMachine(const CLI::App& app, LaterEvents laterEvents)
{
    ChosenMachine chosen = chosenMachine(app, laterEvents);
    start(std::move(chosen.machine));
    return std::move(chosen.path);
}

std::string loadMachine(const CLI::App& app, LaterEvents laterEvents)
{
    std::string path = startMachine(app, laterEvents);
    letDisksArrive();
    return path;
}

void loadReportedMachine(const std::string& report)
{
    start(std::make_unique<recorded::RecordedMachine>(loadRecordingOrReport(report), recorded::Playback::byHand));
    letDisksArrive();
}

} // namespace vantorel::host
