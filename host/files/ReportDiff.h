// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "ReportFile.h"

#include <string>
#include <vector>

namespace vantorel::host {

/// What one value of a drive did from one report to the next.
struct ValueChange {
    enum class Kind {
        appeared,
        vanished,
        grew,
        shrank,
        changed,   ///< without being more or less
        crossed,   ///< its state got worse: it reached a threshold or raised a warning
        recovered, ///< its state got better
    };

    Kind kind = Kind::changed;
    std::string id; ///< number of an ATA attribute; empty for an NVMe value
    std::string name;
    std::string before; ///< empty when it appeared
    std::string after;  ///< empty when it vanished
    int status = 0;     ///< bits of `Status`; 0 when nothing got worse by it
};

[[nodiscard]] std::string_view rawValue(ValueChange::Kind kind);

/// What one drive did from one report to the next.
struct DriveChange {
    enum class Kind { appeared, vanished, stayed };

    Kind kind = Kind::stayed;
    std::string name;   ///< its device name in the later report that has it
    std::string model;  ///< empty when unknown
    std::string serial; ///< empty when unknown
    std::vector<ValueChange> values;
    int status = 0; ///< bits of `Status`; 0 when nothing got worse
};

[[nodiscard]] std::string_view rawValue(DriveChange::Kind kind);

/// Compares the drives of two reports, both decoded by today's table. A drive is the same in both when the registry
/// listings give it the same serial number; where one of them gives none, when model and device name are the same.
/// Drives stand in the order of `after`, those that vanished behind them.
[[nodiscard]] std::vector<DriveChange> compareReports(const ReportFile& before, const ReportFile& after);

} // namespace vantorel::host
