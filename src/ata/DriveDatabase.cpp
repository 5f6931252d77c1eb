// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/DriveDatabase.h"

#include "DriveTable.h"

#include <algorithm>
#include <cassert>
#include <memory>
#include <mutex>

namespace vantorel {

constexpr std::array<drive_settings, 681> builtin_knowndrives = {{
#include "KnownDrives.inc"
}};

namespace {

// A row whose initialiser is missing would show as an empty expression, which no row may have.
static_assert(std::none_of(builtin_knowndrives.begin(), builtin_knowndrives.end(),
                           [](const drive_settings& row) { return row.modelregexp.empty(); }));
static_assert(builtin_knowndrives[1].modelfamily == "DEFAULT");

ata::DriveTable& driveTable()
{
    static ata::DriveTable table(builtin_knowndrives);
    return table;
}

/// The parsed presets of the rows that somebody has asked for.
struct ParsedRows {
    std::mutex mutex;
    std::array<std::unique_ptr<const ATASmartAttributeDefinitions>, builtin_knowndrives.size()> rows;

    static ParsedRows& shared()
    {
        static ParsedRows parsed;
        return parsed;
    }
};

} // namespace

const drive_settings* getDriveSettings(const ATADeviceInfo& deviceInfo)
{
    const std::size_t row = driveTable().find(deviceInfo.model, deviceInfo.firmware);
    return row == ata::DriveTable::noRow ? nullptr : &builtin_knowndrives[row];
}

const ATASmartAttributeDefinitions& definitionsOfRow(const drive_settings& row)
{
    static const ATASmartAttributeDefinitions none{};
    if (row.presets.empty())
        return none;
    const auto index = static_cast<std::size_t>(&row - builtin_knowndrives.data());
    assert(index < builtin_knowndrives.size());
    ParsedRows& parsed = ParsedRows::shared();
    const std::lock_guard lock(parsed.mutex);
    auto& definitions = parsed.rows[index];
    if (!definitions)
        definitions = std::make_unique<const ATASmartAttributeDefinitions>(parsePresets(row.presets));
    return *definitions;
}

const ATASmartAttributeDefinitions& getDefaultDefinitions()
{
    static const ATASmartAttributeDefinitions& definitions = definitionsOfRow(builtin_knowndrives[1]);
    return definitions;
}

const ATASmartAttributeDefinition& defaultDefinition()
{
    static const ATASmartAttributeDefinition definition{.name = "Unknown Attribute", .byteorder = {}};
    return definition;
}

const ATASmartAttributeDefinition& resolvedDefinition(std::uint8_t attributeId,
                                                      const ATASmartAttributeDefinitions& definitions)
{
    if (definitions[attributeId])
        return *definitions[attributeId];
    const auto& byDefault = getDefaultDefinitions()[attributeId];
    return byDefault ? *byDefault : defaultDefinition();
}

} // namespace vantorel
