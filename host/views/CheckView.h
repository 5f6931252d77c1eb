// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/health/Verdict.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantorel::host {

/// One drive as the check shows it.
struct CheckedDrive {
    std::string name; ///< device name
    std::string model;
    std::string serial;                       ///< empty when unknown
    std::optional<std::uint64_t> size;        ///< bytes
    const health::Verdict* verdict = nullptr; ///< owned by the caller; null when there is none
    /// What stands in the place of a level where there is no verdict, such as "asleep", and why.
    std::string state;
    std::string explanation;
    std::string remedy;                        ///< a command that helps, or empty
    bool isFault = false;                      ///< whether the drive ought to have had a verdict
    std::vector<std::string> mountPoints = {}; ///< of the volumes on it
};

/// Whether a drive stands before another in a list: what needs a hand comes first.
[[nodiscard]] bool isBefore(const CheckedDrive& one, const CheckedDrive& other);

/// A line for every drive, the worst first, with the reasons of those that are not good under it, and a last line that
/// sums up. Broken to the width of the screen.
[[nodiscard]] std::string checkText(std::vector<CheckedDrive> drives);

} // namespace vantorel::host
