// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Public.h"

#include <cstddef>
#include <string>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

/// Something about a row of a drive table that its author should look at.
struct DriveTableFinding {
    enum class Kind {
        badExpression, ///< an expression does not compile: the row, or its firmware, can never match
        badPresets,    ///< the presets are not read whole
        unreachable,   ///< earlier rows match whatever the row matches
        unchecked,     ///< whether rows from this one on are reachable was not looked at: the table is too large
    };

    Kind kind;
    std::size_t row;  ///< index of the row
    std::string text; ///< what is wrong, in words
};

/// Looks through a table in row order. A row counts as unreachable when an earlier one has its expressions, or when it
/// can be shown by the literal texts that they stand for: rows with '.', '*', '+', negated or very large classes inside
/// are taken to be reachable, and so is one whose expressions stand for more than some thousand texts. Any thread; a
/// second or less for a table of some hundred rows, and some seconds for one of any size, of which the later rows are
/// not held against all earlier ones.
[[nodiscard]] std::vector<DriveTableFinding> lintDriveTable(const DriveTable& table);

} // namespace vantorel
