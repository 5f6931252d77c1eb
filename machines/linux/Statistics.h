// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Sysfs.h"
#include "vantorel/base/PropertyValue.h"

#include <optional>

namespace vantorel::machines {

/// The counters of the disk in this folder of sysfs, under the platform's keys and in its units: bytes, nanoseconds.
/// Absent when the disk is gone. The kernel counts errors of SCSI devices without regard to the direction; they stand
/// under keys of our own, "Errors" and "Timeouts".
[[nodiscard]] std::optional<PropertyTable> readStatistics(const Folder& disk);

} // namespace vantorel::machines
