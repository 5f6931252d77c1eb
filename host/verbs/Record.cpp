// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/SideBySide.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/files/OutputFile.h"
#include "host/files/ReportRedaction.h"
#include "host/views/Quantity.h"
#include "machines/recorded/RegistryIndex.h"
#include "vantorel/machines/recorded/Recorder.h"
#include "vantorel/machines/recorded/RecordingWriter.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

namespace vantorel::host {

namespace {

using recorded::Recording;

struct RecordArguments {
    std::string output;
    bool force = false;
    bool redact = false;
};

/// Tells what drives did not answer; gives the bits of the exit status. A drive that was left asleep is no failure.
int tellFailures(const Recording& recording)
{
    const auto disks = recorded::disksOfDrives(recording);
    int status = success;
    for (const auto& [entry, drive] : recording.drives) {
        const auto disk = disks.find(entry);
        const std::string name = disk != disks.end() ? disk->second : fmt::format("entry {}", entry);
        for (const auto& [command, failure] : drive.failures) {
            if (failure == system::kIOReturnUnsupported || failure == system::kIOReturnNotReady)
                continue;
            complain(name, fmt::format("{} failed: {}", command, system::nameOfIOReturn(failure)));
            status |= command == "open" ? driveNotOpened : readFailed;
        }
    }
    return status;
}

/// Drives are asked side by side, so that one that hangs holds up no other.
Recording readMachine(const CLI::App& app)
{
    ProgressLine progress;
    return recorded::recordMachine(chosenMachine(app, LaterEvents::stayOut).machine,
                                   [&](std::size_t count, const auto& ask) {
                                       sideBySide(count, ask, [&](std::size_t done) {
                                           progress.show(fmt::format("Reading drives, {} of {} done", done, count));
                                       });
                                   });
}

int record(const CLI::App& app, const RecordArguments& arguments)
{
    std::error_code ignored;
    if (arguments.output != "-" && !arguments.force && std::filesystem::exists(arguments.output, ignored))
        throw CommandError(arguments.output, "exists already; --force replaces it");
    Recording recording = readMachine(app);
    const int status = tellFailures(recording);
    if (arguments.redact) {
        recorded::Redaction redaction = redactionHere();
        redaction.note(recording);
        redaction.prepare();
        redaction.redact(recording);
    }
    const std::string json = recorded::writeMachineJson(recording);
    OutputFile file(arguments.output);
    file.write(Data(json.begin(), json.end()));
    file.commit();
    if (arguments.output != "-")
        print(fmt::format("{}: {}\n", printable(arguments.output), sizeText(json.size())));
    return status;
}

} // namespace

void addRecord(CLI::App& app, int& status)
{
    CLI::App* const verb =
        app.add_subcommand("record", "Write a machine as a recorded one, with all its drives answer");
    const auto arguments = std::make_shared<RecordArguments>();
    verb->add_option("FILE", arguments->output, "File to write; - for standard output")->required();
    verb->add_flag("--force", arguments->force, "Replace the file if it exists");
    verb->add_flag("--redact", arguments->redact,
                   "Put pseudonyms in the place of serial numbers, UUIDs, names of hardware, hosts and users");
    verb->callback([&app, arguments, &status] { status = record(app, *arguments); });
}

} // namespace vantorel::host
