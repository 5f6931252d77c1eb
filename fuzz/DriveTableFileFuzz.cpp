// SPDX-License-Identifier: GPL-2.0-or-later
// Any bytes as the file of a drive table. What is read, written out again, is read as the same.
#include "vantorel/ata/DriveTableFile.h"
#include "vantorel/ata/DriveTableLint.h"

#include <algorithm>
#include <cstdlib>

namespace {

using namespace vantorel;

std::string literal(std::string_view text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '\n')
            quoted += "\\n";
        else
            quoted.append(c == '"' || c == '\\' ? "\\" : "").append(1, c);
    }
    return quoted + '"';
}

std::string written(const DriveTable& table)
{
    std::string text;
    for (const drive_settings& row : table.rows) {
        text += '{';
        for (const std::string_view column :
             {row.modelfamily, row.modelregexp, row.firmwareregexp, row.warningmsg, row.presets}) {
            if (column.data()[column.size()] != '\0')
                std::abort();
            text += literal(column) + ',';
        }
        text += "}\n";
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const DriveTableReading first = readDriveTable({reinterpret_cast<const char*>(bytes), size}, "first");
    const std::vector<std::uint32_t>& lines = first.table.lines;
    if (lines.size() != first.table.rows.size() || !std::ranges::is_sorted(lines))
        std::abort();
    const std::string text = written(first.table);
    const DriveTableReading second = readDriveTable(text, "second");
    if (!second.faults.empty() || written(second.table) != text)
        std::abort();
    (void)lintDriveTable(first.table);
    return 0;
}
