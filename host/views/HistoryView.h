// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "host/history/History.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vantorel::host {

/// What a history holds of one drive.
struct DriveHistory {
    DriveIdentity identity;
    std::int64_t readings = 0;
    Timestamp first = 0; ///< of the first reading; the same for what follows
    KeptReading last;
    std::vector<Growth> growths;
    std::vector<KeptAcknowledgement> known;
};

/// A block for each drive: what it is, since when it is read, and what grew when.
[[nodiscard]] std::string historyText(const DriveHistory& drive);

/// An element of "drives" in the document of `history show`.
[[nodiscard]] std::string historyJson(const DriveHistory& drive);

/// An element of its "readings": a reading with the bytes that were read.
[[nodiscard]] std::string readingJson(const KeptReading& reading);

/// "INTEL SSDSA2MH080G1GC, serial CVEM90…", as far as the drive tells.
[[nodiscard]] std::string identityText(const DriveIdentity& drive);

[[nodiscard]] std::string acknowledgementText(const KeptAcknowledgement& known);
[[nodiscard]] std::string acknowledgementJson(const KeptAcknowledgement& known);

} // namespace vantorel::host
