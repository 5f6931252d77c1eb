// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/system/CoreFoundation.h"
#include "vantorel/system/DADisk.h"
#include "vantorel/system/IORegistry.h"
#include "vantorel/system/RunLoop.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The disk service: every media entry of the registry that stands on a block storage device is a disk, with a
/// description derived from it, its ancestors and the machine's volumes.
namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// A new session without callbacks; null on failure.
[[nodiscard]] DASessionRef DASessionCreate(CFAllocatorRef allocator);

// Callbacks of a session: register them before it is scheduled. `match` and `watch` take nothing here: every disk and
// every key is told. A callback runs on the thread of the session's run loop, at a moment when the registry shows
// exactly the state after the event it tells of: the disk that appeared is there, the disk that went is not, and later
// events have not been taken up yet.

/// The callback hears of every disk that exists when the session is scheduled, in registry order, a whole disk before
/// its partitions, and of every disk that comes after that.
void DARegisterDiskAppearedCallback(const DASessionRef& session, std::nullptr_t match, DADiskAppearedCallback callback,
                                    void* context);
/// The callback hears of every disk that goes, partitions before their whole disk.
void DARegisterDiskDisappearedCallback(const DASessionRef& session, std::nullptr_t match,
                                       DADiskDisappearedCallback callback, void* context);
/// The callback hears of every disk whose description has changed.
void DARegisterDiskDescriptionChangedCallback(const DASessionRef& session, std::nullptr_t match, std::nullptr_t watch,
                                              DADiskDescriptionChangedCallback callback, void* context);

/// Lets the session's callbacks arrive on `runLoop`; the first call for a session counts.
void DASessionScheduleWithRunLoop(const DASessionRef& session, const CFRunLoopRef& runLoop, std::string_view mode);
/// Ends the delivery to a session and lets the service forget it.
void DASessionUnscheduleFromRunLoop(const DASessionRef& session, const CFRunLoopRef& runLoop, std::string_view mode);

/// The description of the disk; null when the disk is gone. Each key of the platform ("DAMediaContent") that the
/// library reads under another spelling ("DADeviceContent") stands there under both.
[[nodiscard]] PropertyTableRef DADiskCopyDescription(const DADiskRef& disk);

/// A new handle of the disk's media entry; 0 when it is gone.
[[nodiscard]] io_service_t DADiskCopyIOMedia(const DADiskRef& disk);

/// The device name; absent for a volume without a device.
[[nodiscard]] std::optional<std::string> DADiskGetBSDName(const DADiskRef& disk);

/// The disk whose volume is mounted at `path`; null when nothing the service knows is mounted there.
[[nodiscard]] DADiskRef DADiskCreateFromVolumePath(CFAllocatorRef allocator, const DASessionRef& session,
                                                   const std::string& path);

} // namespace system
} // namespace vantorel
