// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/recorded/MachineJson.h"
#include "machines/recorded/RecordedMachine.h"
#include "vantorel/system/Installation.h"

using namespace vantorel;

/// A machine.json is read and its script played; or it is refused.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const DataView json(bytes, size);
    const recorded::FileReader read = [](const std::string&) { return Data(512); };
    recorded::Recording recording;
    try {
        recording = recorded::readMachineJson(json, "machine.json", read, [](std::vector<recorded::Fault>&) {
            return std::vector<system::RegistryEntry>();
        });
    } catch (const recorded::RecordingError&) {
        return 0;
    }
    auto machine = std::make_unique<recorded::RecordedMachine>(std::move(recording), recorded::Playback::byHand);
    recorded::RecordedMachine& played = *machine;
    system::install(std::move(machine));
    played.playUntil(1e9);
    return 0;
}
