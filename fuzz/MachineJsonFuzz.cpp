// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/recorded/MachineJson.h"
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "vantorel/machines/recorded/RecordingWriter.h"
#include "vantorel/machines/recorded/Redaction.h"
#include "vantorel/system/Installation.h"

using namespace vantorel;

/// A machine.json is read, redacted, written and read again, and its script played; or it is refused.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const DataView json(bytes, size);
    const recorded::FileReader read = [](const std::string&) { return Data(512); };
    const recorded::ListingFinder noListing = [](std::vector<recorded::Fault>&) {
        return std::vector<system::RegistryEntry>();
    };
    recorded::Recording recording;
    try {
        recording = recorded::readMachineJson(json, "machine.json", read, noListing);
    } catch (const recorded::RecordingError&) {
        return 0;
    }
    recorded::Redaction redaction;
    redaction.note(recording);
    redaction.prepare();
    redaction.redact(recording);
    const std::string written = recorded::writeMachineJson(recording);
    try {
        const recorded::Recording again =
            recorded::readMachineJson(Data(written.begin(), written.end()), "machine.json", read, noListing);
        if (again.entries.size() != recording.entries.size() || again.script.size() != recording.script.size() ||
            again.drives.size() != recording.drives.size())
            __builtin_trap();
    } catch (const recorded::RecordingError&) {
        // what is nested as deeply as can be read lies two levels deeper where it is written
    }
    auto machine = std::make_unique<recorded::RecordedMachine>(std::move(recording), recorded::Playback::byHand);
    recorded::RecordedMachine& played = *machine;
    system::install(std::move(machine));
    played.playUntil(1e9);
    return 0;
}
