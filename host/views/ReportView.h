// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "documents/DiskJson.h"
#include "host/files/ReportFile.h"

#include <string>

namespace vantorel::host {

/// The report's head and a block for every drive, which leads with the verdict; values that differ from the stored ones
/// are marked.
[[nodiscard]] std::string reportText(const ReportFile& report);

/// The report as docs/json.md tells, on one line; with `raw` the bytes of each drive, too.
[[nodiscard]] std::string reportJson(const ReportFile& report, bool raw);

/// Why there are no values of a drive, as a sentence.
[[nodiscard]] std::string absenceText(const ReportedDrive& drive);

/// A volume of a report, in the terms of a machine.json.
[[nodiscard]] Json volumeJson(const ReportVolume& volume);

/// The bits of the exit status (`Status`) that a drive asks for.
[[nodiscard]] int statusOf(const ReportedDrive& drive);

} // namespace vantorel::host
