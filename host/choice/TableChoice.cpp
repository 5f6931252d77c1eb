// SPDX-License-Identifier: GPL-2.0-or-later
#include "TableChoice.h"

#include "vantorel/ata/DriveTables.h"

namespace vantorel::host {

void addDriveTables(CLI::App& app)
{
    app.parse_complete_callback([] { addDriveTable(recentDriveTable(), DriveTableUse::supplement); });
}

} // namespace vantorel::host
