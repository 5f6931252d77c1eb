// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Fleet.h"

#include <cstddef>
#include <string>
#include <vector>

namespace vantorel::host {

/// A report that could not be read, or not whole.
struct ReportFault {
    std::string report; ///< path, or the folder that could not be looked into
    std::string error;
};

/// What came of reading all reports.
struct FleetSum {
    std::size_t reports = 0; ///< that could be opened
    std::vector<ReportFault> faults;
    Fleet fleet;
};

/// The drives that are not good, sums by model and firmware, unusual models, and a last line that sums up.
[[nodiscard]] std::string fleetText(const FleetSum& sum);

/// The document that docs/json.md tells, on one line.
[[nodiscard]] std::string fleetDocument(const FleetSum& sum);

} // namespace vantorel::host
