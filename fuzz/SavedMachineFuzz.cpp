// SPDX-License-Identifier: GPL-2.0-or-later
// A listing from a report, whose drives are found in it by name: the identity above a disk, wherever its parents lead.
#include "vantorel/machines/recorded/SavedMachine.h"

#include <array>
#include <cstddef>
#include <cstdint>

using namespace vantorel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using recorded::RecordedDrive;
    const std::array<recorded::SavedSmart, 3> saved{{
        {"disk0", RecordedDrive::Kind::ata, Data(512), Data(512), {}, {}, {}},
        {"disk0", RecordedDrive::Kind::nvme, Data(512), {}, {}, {}, {}},
        {"disk1", RecordedDrive::Kind::nvme, Data(), {}, {}, {}, {}},
    }};
    try {
        const recorded::Recording recording = recorded::savedMachine({data, size}, "listing", saved);
        for (const auto& [entry, drive] : recording.drives) {
            if (drive.identify && drive.identify->size() != 4096)
                __builtin_trap();
        }
    } catch (const recorded::RecordingError&) {
        // told, as it should be
    }
    return 0;
}
