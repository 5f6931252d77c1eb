// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Public.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

/// A place of a table's file that cannot be read.
struct DriveTableFault {
    std::size_t line; ///< from 1
    std::string text; ///< what is wrong, in words
};

/// What came of a table's file: the rows that could be read, and the others' faults in the order of their lines.
struct DriveTableReading {
    DriveTable table;
    std::vector<DriveTableFault> faults;
};

/// Reads a table, to be called `name`, in either of two forms:
///
/// - that of `drivedb.h`, which smartmontools keeps: rows `{ "family", "model expression", "firmware expression",
///   "warning", "presets" },` of C string literals, which stand beside one another where they are parts of one column,
///   with C and C++ comments anywhere;
/// - lines of six columns parted by tabs, under the line `index modelfamily modelregexp firmwareregexp warningmsg
///   presets`. The columns are taken as they are, the index is passed over.
///
/// A row that cannot be read is lost alone: reading goes on at the next one. Bytes that are no UTF-8 become U+FFFD.
/// Texts beyond 64 MiB, rows beyond half a million and columns beyond 64 KiB are not read, which is told as a fault;
/// of more than a thousand faults the rest is counted. Whether expressions and presets make sense is not looked at
/// (`lintDriveTable`). Any thread; throws nothing but `std::bad_alloc`.
[[nodiscard]] DriveTableReading readDriveTable(std::string_view text, std::string name);

} // namespace vantorel
