// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/ata/DriveDatabase.h"
#include "vantorel/base/Public.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The tables that look-ups ask: the built-in one, and those that a host adds. Any thread.
namespace VANTOREL_PUBLIC vantorel {

/// A table of drive families: whence it comes, and its rows in the order in which they are tried.
struct DriveTable {
    std::string name;     ///< what people call it: "built-in", "recent", the path of a file
    std::string revision; ///< what its revision row says, such as "7.5 2026-08-19"; empty when it has none
    std::span<const drive_settings> rows;
    DriveTableMatching matching = DriveTableMatching::whole;
    std::vector<std::uint32_t> lines;  ///< where each row begins in its file, from 1; empty when there is no file
    std::shared_ptr<const void> texts; ///< keeps what the rows view; null when that lives as long as the process
};

/// The default row of a table; null when it has none.
[[nodiscard]] const drive_settings* defaultRow(std::span<const drive_settings> rows);

/// What the revision row of a table says, without the name of the file; empty when the first row is none.
[[nodiscard]] std::string revisionOf(std::span<const drive_settings> rows);

/// The table of `builtin_knowndrives`, which is always asked.
[[nodiscard]] const DriveTable& builtInDriveTable();

/// The table of revision 7.5 of 2026-08-19, 841 rows. It is asked once a host has added it.
[[nodiscard]] const DriveTable& recentDriveTable();

/// When an added table is asked.
enum class DriveTableUse : std::uint8_t {
    supplement, ///< where the built-in table has no row for a drive
    override,   ///< before the built-in table
};

/// Has every later look-up ask `table` too, behind the tables that were added for the same use. It is kept as long as
/// the process lives.
void addDriveTable(DriveTable table, DriveTableUse use);

/// The tables in the order in which they are asked.
[[nodiscard]] std::vector<const DriveTable*> driveTables();

/// Whence an attribute has its definition.
enum class DefinitionSource : std::uint8_t {
    row,        ///< the row that describes the drive
    defaultRow, ///< the default row of the same table, of the built-in one when that has none
    nothing,    ///< it is `defaultDefinition()`
};

/// What the tables know of a drive.
struct KnownDrive {
    /// An attribute's definition, which lives as long as this object, and whence it comes.
    struct Attribute {
        const ATASmartAttributeDefinition& definition;
        DefinitionSource source;
    };

    const DriveTable* table = nullptr;   ///< the table that has a row for the drive; null when none has
    const drive_settings* row = nullptr; ///< that row, null when there is none; lives as long as the process
    std::size_t rowIndex = 0;            ///< its place in the table

    [[nodiscard]] Attribute attribute(std::uint8_t id) const;

    /// The raw name by which an attribute goes: that of its definition, else the default row's name for its number, as
    /// `GetDefaultAttributeName` gives it. Lives as long as this object.
    [[nodiscard]] std::string_view rawName(std::uint8_t id, bool isSSD) const;

    std::shared_ptr<const ATASmartAttributeDefinitions> own;      ///< by the row; never null, may hold nothing
    std::shared_ptr<const ATASmartAttributeDefinitions> defaults; ///< by the default row; never null
};

/// Looks a drive up by its model and firmware; `getDriveSettings` tells how. A row that describes no drives does not
/// count: nothing is known then but the default definitions.
[[nodiscard]] KnownDrive knownDrive(const ATADeviceInfo& deviceInfo);

/// How a USB bridge carries the commands of the drive behind it.
struct UsbBridge {
    std::string_view name; ///< enclosure and chip with a semicolon between; either may be missing
    std::string_view type; ///< the device type, such as "sat" or "usbjmicron,x"; empty when it carries none
    const DriveTable* table = nullptr;
    std::size_t rowIndex = 0;
};

/// The bridge of a USB device, by its vendor, product and device version (`bcdDevice`). The version decides where a
/// table has several rows for one product. Tables are asked in their order, but the built-in one last. Nothing when no
/// table has a row for the product, or none for this version of it.
[[nodiscard]] std::optional<UsbBridge> usbBridge(std::uint16_t vendor, std::uint16_t product, std::uint16_t version);

} // namespace vantorel
