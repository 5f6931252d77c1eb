// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string_view>

namespace vantorel::system {

/// The tool that lists the I/O registry. `install` of a machine provides it: a task with this launch path is answered
/// with the registry as it stands at its launch.
inline constexpr std::string_view registryToolPath = "/usr/sbin/ioreg";

/// Provides the tool under `registryToolPath`, for all tasks from now on.
///
/// Whatever its arguments, it writes what `ioreg -l -w0 -a` writes: an XML property list of one table for the root of
/// the plane "IOService". A table holds the properties of its entry, and besides "IORegistryEntryName",
/// "IORegistryEntryLocation", "IORegistryEntryID", "IOObjectClass" and, when there are entries below,
/// "IORegistryEntryChildren". An entry with several parents is listed under each of them. Left out is what the registry
/// does not know: the retain count, and the state of a service. "IOObjectInheritance" stands where the machine told it.
void provideRegistryTool();

} // namespace vantorel::system
