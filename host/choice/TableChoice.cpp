// SPDX-License-Identifier: GPL-2.0-or-later
#include "TableChoice.h"

#include "host/console/Output.h"
#include "host/files/InputFile.h"
#include "vantorel/ata/DriveTableFile.h"
#include "vantorel/ata/DriveTables.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

namespace vantorel::host {

namespace {

constexpr std::size_t largestTable = std::size_t{64} << 20;

std::vector<std::string> faults;

/// A table of the user's own is asked first: who names one wants it to count.
void addTableOfFile(const std::string& path)
{
    const Data bytes = readFile(path, largestTable);
    DriveTableReading reading = readDriveTable({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, path);
    for (const DriveTableFault& fault : reading.faults)
        faults.push_back(fmt::format("{}: line {}: {}", path, fault.line, fault.text));
    if (reading.table.rows.empty())
        throw CommandError(path, faults.empty() ? "holds no rows of a drive table"
                                                : "holds no rows of a drive table: " + faults.front());
    if (!faults.empty())
        complain(path, fmt::format("rows that cannot be read: {}; `vantorel db lint` tells which", faults.size()));
    addDriveTable(std::move(reading.table), DriveTableUse::override);
}

} // namespace

void addDriveTables(CLI::App& app)
{
    const auto path = std::make_shared<std::string>();
    app.add_option("--drive-table", *path, "Ask this table of drives first: a drivedb.h, or our own form in lines")
        ->type_name("FILE")
        ->envname("VANTOREL_DRIVE_TABLE");
    app.parse_complete_callback([path] {
        addDriveTable(recentDriveTable(), DriveTableUse::supplement);
        if (!path->empty())
            addTableOfFile(*path);
    });
}

const std::vector<std::string>& driveTableFaults()
{
    return faults;
}

} // namespace vantorel::host
