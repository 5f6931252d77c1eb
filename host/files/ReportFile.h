// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "host/opening/MachineOpening.h"
#include "machines/recorded/DeviceIdentity.h"
#include "vantorel/health/JudgedReading.h"
#include "vantorel/machines/recorded/Recording.h"
#include "vantorel/report/ReportReader.h"
#include "vantorel/smart/records/SmartObject.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel::host {

/// One drive of a report and what can be made of it today.
struct ReportedDrive {
    /// What became of the drive's SMART data when the report was made.
    enum class Smart {
        stored,
        unread,  ///< it has some, and they could not be read
        none,    ///< it has none
        unknown, ///< neither the report nor its listing tells
    };

    ReportDrive stored;
    std::string name;                  ///< its device name, else "drive 3"
    recorded::DeviceIdentity identity; ///< as far as the report's registry listing tells it
    Smart smart = Smart::unknown;
    /// The raw bytes, decoded and judged by what is known today; firmware and serial are the listing's.
    std::optional<health::JudgedReading> judged;
    std::string fault; ///< why raw bytes are there and no result

    /// The health result of the raw bytes; null when there is none.
    [[nodiscard]] const SmartObject* decoded() const { return judged ? &judged->reading.result : nullptr; }
};

[[nodiscard]] std::string_view rawValue(ReportedDrive::Smart smart);

/// A report that was opened.
struct ReportFile {
    std::string path;
    std::optional<std::string> version; ///< of the library that made it
    ReportOrigin origin;
    std::string machine; ///< its platform's UUID by the listing; empty when that does not tell it
    std::vector<std::string> unknownKeys;
    std::vector<ReportedDrive> drives;
    std::vector<ReportVolume> volumes;
    Data listing;             ///< the registry listing, expanded; empty when there is none
    std::size_t entries = 0;  ///< registry entries in the listing
    std::string machineId;    ///< what the platform calls the machine (IOPlatformUUID); empty when it is not told
    std::string listingFault; ///< why the listing cannot be used
};

/// Opens a report. Throws `CommandError` for a file that is none; a listing that cannot be used is told in the result.
[[nodiscard]] ReportFile openReport(const std::string& path);

} // namespace vantorel::host
