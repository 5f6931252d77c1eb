// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/recorded/RegistryListing.h"
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "vantorel/system/DiskArbitration.h"
#include "vantorel/system/Installation.h"
#include "vantorel/system/RunLoop.h"

using namespace vantorel;

/// A listing in any form becomes a machine, and its disks are described; or it is refused.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    recorded::Recording recording;
    try {
        recording.entries = recorded::readListing(DataView(bytes, size), "listing", recording.faults);
    } catch (const recorded::RecordingError&) {
        return 0;
    }
    system::install(std::make_unique<recorded::RecordedMachine>(std::move(recording), recorded::Playback::byHand));
    const system::DASessionRef session = system::DASessionCreate(system::kCFAllocatorDefault);
    system::DARegisterDiskAppearedCallback(
        session, nullptr,
        [](const system::DADiskRef& disk, void*) {
            if (!system::DADiskCopyDescription(disk))
                __builtin_trap();
        },
        nullptr);
    const system::CFRunLoopRef loop = system::CFRunLoopGetCurrent();
    system::DASessionScheduleWithRunLoop(session, loop, system::kCFRunLoopDefaultMode);
    system::performPendingWork();
    system::DASessionUnscheduleFromRunLoop(session, loop, system::kCFRunLoopDefaultMode);
    return 0;
}
