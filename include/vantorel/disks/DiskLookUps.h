// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/system/CoreFoundation.h"
#include "vantorel/system/DiskArbitration.h"
#include "vantorel/system/IORegistry.h"

/// The look-ups through which every disk reads the platform's tables. They keep no state and need no registry of
/// disks; `Vantorel` offers them under its name.
namespace VANTOREL_PUBLIC vantorel {

/// The description of a disk. Null, with the message "Unable to retrieve disk info", when the disk service has none.
[[nodiscard]] system::PropertyTableRef getDiskInfo(const system::DADiskRef& disk);

/// The registry properties of a disk's media entry; null, with a message, as `getPropertiesForService` tells.
[[nodiscard]] system::PropertyTableRef getRegistryEntryForDisk(const system::DADiskRef& disk);

/// The properties of a registry entry, whose handle stays the caller's. Null when there are none to be had, with the
/// message "Unable to retrieve properties", or "Unable to access service properties" for a success without a table.
[[nodiscard]] system::PropertyTableRef getPropertiesForService(system::io_object_t serviceObject);

} // namespace vantorel
