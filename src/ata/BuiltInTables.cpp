// SPDX-License-Identifier: GPL-2.0-or-later
// The rows that come with the library, and what is said of them.
#include "vantorel/ata/DriveTables.h"

#include <algorithm>

namespace vantorel {

constexpr std::array<drive_settings, 681> builtin_knowndrives = {{
#include "KnownDrives.inc"
}};

namespace {

constexpr std::array<drive_settings, 841> recentRows = {{
#include "RecentDrives.inc"
}};

/// A row whose initialiser is missing would show as an empty expression, which no row may have.
constexpr bool isWhole(std::span<const drive_settings> rows)
{
    return std::ranges::none_of(rows, [](const drive_settings& row) { return row.modelregexp.empty(); }) &&
           rows[1].modelfamily == "DEFAULT";
}

static_assert(isWhole(builtin_knowndrives) && isWhole(recentRows));

/// The revision row's family without the name of the file and of the version control system's tag.
std::string revisionIn(std::string_view family)
{
    for (const std::string_view prefix : {"VERSION: ", "$Id: ", "drivedb.h "}) {
        if (family.starts_with(prefix))
            family.remove_prefix(prefix.size());
    }
    return std::string(family.substr(0, family.find(" $")));
}

} // namespace

bool describesDrives(const drive_settings& row)
{
    return row.modelregexp != "-" && !row.modelfamily.starts_with('$');
}

const drive_settings* defaultRow(std::span<const drive_settings> rows)
{
    const auto found = std::ranges::find(rows, "DEFAULT", &drive_settings::modelfamily);
    return found == rows.end() ? nullptr : &*found;
}

std::string revisionOf(std::span<const drive_settings> rows)
{
    return rows.empty() || describesDrives(rows[0]) || rows[0].modelfamily == "DEFAULT"
               ? std::string()
               : revisionIn(rows[0].modelfamily);
}

const DriveTable& builtInDriveTable()
{
    static const DriveTable table = {.name = "built-in",
                                     .revision = revisionOf(builtin_knowndrives),
                                     .rows = builtin_knowndrives,
                                     .matching = DriveTableMatching::anywhere,
                                     .lines = {},
                                     .texts = {}};
    return table;
}

const DriveTable& recentDriveTable()
{
    static const DriveTable table = {
        .name = "recent", .revision = revisionOf(recentRows), .rows = recentRows, .lines = {}, .texts = {}};
    return table;
}

const ATASmartAttributeDefinitions& getDefaultDefinitions()
{
    static const ATASmartAttributeDefinitions definitions = parsePresets(builtin_knowndrives[1].presets);
    return definitions;
}

const ATASmartAttributeDefinition& defaultDefinition()
{
    static const ATASmartAttributeDefinition definition{.name = "Unknown Attribute", .byteorder = {}};
    return definition;
}

} // namespace vantorel
