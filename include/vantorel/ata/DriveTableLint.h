// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveDatabase.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace vantorel {

/// Something about a row of a drive table that its author should look at.
struct DriveTableFinding {
    enum class Kind {
        badExpression, ///< an expression does not compile: the row, or its firmware, can never match
        badPresets,    ///< the presets are not read whole
        unreachable,   ///< earlier rows match whatever the row matches
    };

    Kind kind;
    std::size_t row;  ///< index of the row
    std::string text; ///< what is wrong, in words
};

/// Looks through a table in row order. A row counts as unreachable when it can be shown by the literal texts that its
/// expressions stand for: rows with '.', '*', '+', negated or very large classes inside are taken to be reachable, and
/// so is one whose expressions stand for more than some thousand texts. Any thread; a second or less for the built-in
/// table.
[[nodiscard]] std::vector<DriveTableFinding> lintDriveTable(std::span<const drive_settings> rows);

} // namespace vantorel
