// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/machines/recorded/Recording.h"
#include "vantorel/report/ReportReader.h"
#include "vantorel/system/Machine.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

/// Opening a machine, for every host: the command and the C interface.
namespace vantorel::host {

/// Nothing can be opened at a path: `what()` is "PATH: WHY".
class OpeningError : public std::runtime_error {
public:
    OpeningError(const std::string& path, const std::string& why);
};

inline constexpr std::size_t largestReport = std::size_t{512} << 20;

/// What the listing of a report is called in faults.
inline constexpr std::string_view listingName = "registry listing";

/// The computer that this process runs on. `wakesDrives`: drives that sleep are read, too. Throws `OpeningError` where
/// this build knows no machine for it.
[[nodiscard]] std::unique_ptr<system::Machine> thisComputer(bool wakesDrives);

/// The recorded machine at a path: a recording, or the machine as it stood when a report was made. A report is told by
/// what is in it, whatever its name; a file named "….vantorel" is to be one. Throws `RecordingError`, and
/// `OpeningError` for a file that cannot be read, and for a report that is none or has no listing of the registry.
[[nodiscard]] recorded::Recording loadRecordingOrReport(const std::string& path);

/// Whether what is stored of a drive is of the NVMe kind.
[[nodiscard]] bool isNvme(const ReportDrive& drive);

/// The volume as recorded machines hold it; absent when it does not tell its disk.
[[nodiscard]] std::optional<recorded::RecordedVolume> recordedVolume(const ReportVolume& volume);

} // namespace vantorel::host
