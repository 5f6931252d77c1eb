// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DiskJson.h"
#include "host/files/ReportFile.h"
#include "vantorel/base/PropertyValue.h"

#include <optional>
#include <string>
#include <vector>

namespace vantorel::host {

/// One value of a drive, as a report stored it and as its raw bytes are decoded today; one of the two may be missing.
struct ValuePair {
    std::optional<PropertyTable> stored;
    std::optional<PropertyTable> decoded;

    /// Of the two, today's unless it is missing.
    [[nodiscard]] const PropertyTable& either() const { return decoded ? *decoded : *stored; }
    /// The keys under which the two differ; none when one of them is missing.
    [[nodiscard]] std::vector<std::string> differences() const;
};

/// The values of a drive in today's order, behind them those that only the report has.
[[nodiscard]] std::vector<ValuePair> valuePairs(const ReportedDrive& drive);

/// The report's head and a block for every drive; values that differ from the stored ones are marked.
[[nodiscard]] std::string reportText(const ReportFile& report);

/// The report as docs/json.md tells.
[[nodiscard]] Json reportJson(const ReportFile& report);

/// The bits of the exit status (`Status`) that a drive asks for.
[[nodiscard]] int statusOf(const ReportedDrive& drive);

} // namespace vantorel::host
