// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DiskTree.h"
#include "DriveOutcome.h"
#include "vantorel/disks/Disk.h"
#include "vantorel/disks/DiskEvent.h"
#include "vantorel/health/JudgedReading.h"

#include <string>
#include <vector>

/// The documents that docs/json.md tells, each on one line with its line end. `machine` is the path of the machine, or
/// "this computer"; `raw` adds the bytes that all was made of.
namespace vantorel {

/// The tree of disks. On the registry's thread.
[[nodiscard]] std::string listDocument(const std::string& machine, const std::vector<DiskNode>& roots);

/// The drives that were asked, in their order. Any thread.
[[nodiscard]] std::string healthDocument(const std::string& machine, const std::vector<DriveOutcome>& outcomes,
                                         bool raw);

/// A reading of saved bytes. Any thread.
[[nodiscard]] std::string decodeDocument(const health::JudgedReading& judged, bool raw);

/// What happened to a disk just now. On the registry's thread.
[[nodiscard]] std::string eventDocument(const Disk& disk, DiskEvent event);

/// Now, as `2026-01-31T23:59:59.123Z`.
[[nodiscard]] std::string utcTime();

/// A moment in milliseconds since 1970 in that form; empty for one before 1970 or beyond the year 9999.
[[nodiscard]] std::string utcTime(std::int64_t milliseconds);

/// The moment of a text in that form, with thousandths or without; absent for any other.
[[nodiscard]] std::optional<std::int64_t> momentOf(const std::string& utcTime);

} // namespace vantorel
