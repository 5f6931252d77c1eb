// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "ReportFile.h"
#include "vantorel/health/Verdict.h"

#include <optional>
#include <string>
#include <string_view>
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
        crossed,   ///< the verdict holds something against it that it did not before
        recovered, ///< the verdict holds nothing against it any more
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
    /// Of the earlier report; absent when that has no verdict.
    std::optional<health::Level> levelBefore;
    /// Of the later report, judged beside the earlier one where both are of the same drive.
    std::optional<health::Verdict> verdict;
    int status = 0; ///< bits of `Status`; 0 when nothing got worse

    /// Whether the drive had been on for longer when the report that is called the earlier one was made.
    [[nodiscard]] bool isReversed() const
    {
        return verdict && verdict->comparison && verdict->comparison->hours.value_or(0) < 0;
    }
    [[nodiscard]] bool isWorse() const;
};

[[nodiscard]] std::string_view rawValue(DriveChange::Kind kind);

/// The drive of an earlier report that each drive of a later one is, in the order of the later; null for none. A drive
/// is the same in both when the serial number of the registry listings and the model are the same; of several those
/// that have the device name in common as well. Where one report gives no serial number, model and device name have to
/// be the same.
[[nodiscard]] std::vector<const ReportedDrive*> sameDrives(const ReportFile& before, const ReportFile& after);

/// Compares the drives of two reports, both judged by what is known today. Drives stand in the order of `after`, those
/// that vanished behind them.
[[nodiscard]] std::vector<DriveChange> compareReports(const ReportFile& before, const ReportFile& after);

} // namespace vantorel::host
