// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "machines/recorded/DeviceIdentity.h"
#include "machines/recorded/Recording.h"
#include "vantorel/report/ReportReader.h"
#include "vantorel/smart/records/SmartObject.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vantorel::host {

/// One drive of a report and what can be made of it today.
struct ReportedDrive {
    ReportDrive stored;
    std::string name;                  ///< its device name, else "drive 3"
    recorded::DeviceIdentity identity; ///< as far as the report's registry listing tells it
    std::optional<SmartObject>
        decoded;       ///< the raw bytes, decoded by today's table; firmware and serial are the listing's
    std::string fault; ///< why raw bytes are there and no result
};

/// A report that was opened.
struct ReportFile {
    std::string path;
    std::optional<std::string> version; ///< of the library that made it
    std::vector<std::string> unknownKeys;
    std::vector<ReportedDrive> drives;
    Data listing;             ///< the registry listing, expanded; empty when there is none
    std::size_t entries = 0;  ///< registry entries in the listing
    std::string listingFault; ///< why the listing cannot be used
};

/// Opens a report. Throws `CommandError` for a file that is none; a listing that cannot be used is told in the result.
[[nodiscard]] ReportFile openReport(const std::string& path);

/// The recorded machine at a path: a recording, or the machine as it stood when a report was made. A report is told by
/// its extension ".vantorel", or by being a keyed archive. Throws `RecordingError`, and `CommandError` for a report
/// that cannot be read or has no listing of the registry.
[[nodiscard]] recorded::Recording loadRecordingOrReport(const std::string& path);

} // namespace vantorel::host
