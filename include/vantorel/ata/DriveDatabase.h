// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/smart/records/AtaSmartObject.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The table of drive families and the grammar of its presets. The rows are those of the drive database of
/// smartmontools (`drivedb.h`, revision 4591 of 2017-11-04); the grammar is that of its `-v` option.
/// All operations may be called from any thread.
namespace VANTOREL_PUBLIC vantorel {

/// One row of the table. No column is absent; every text ends with a NUL behind its last character.
struct drive_settings {
    std::string_view modelfamily;    ///< the family's name, may be empty
    std::string_view modelregexp;    ///< regular expression for the model, never empty
    std::string_view firmwareregexp; ///< regular expression for the firmware; empty means any firmware
    std::string_view warningmsg;     ///< advice about the family, may be empty; lines end with '\n'
    std::string_view presets;        ///< option text for `parsePresets`, may be empty
};

/// Whether a row describes drives. The one that names the revision, the default row, and those whose family begins
/// with "$" do not.
[[nodiscard]] bool describesDrives(const drive_settings& row);

/// How a row's expressions are held against a drive's texts.
enum class DriveTableMatching : std::uint8_t {
    anywhere, ///< they are searched for in the text: the way of the built-in table
    whole,    ///< they describe the whole text without blanks at its ends: what the authors of the rows mean
};

/// The rows in the order in which they are tried. Row 0 names the revision, row 1 holds the default presets.
extern const std::array<drive_settings, 681> builtin_knowndrives;

/// How a raw value is shown.
enum class ata_attr_raw_format : std::uint32_t {
    none = 0, ///< no format was given
    raw8,
    raw16,
    raw48,
    hex48,
    raw56,
    hex56,
    raw64,
    hex64,
    raw16_raw16,
    raw16_avg16,
    raw24_raw8,
    raw24_div_raw24,
    raw24_div_raw32,
    sec2hour,
    min2hour,
    halfmin2hour,
    msec24hour32,
    tempminmax,
    temp10x,
};

/// A format and its name in a preset.
struct format_name_entry {
    std::string_view name;
    ata_attr_raw_format format;
};

/// All formats but `none`, in ascending order.
extern const std::array<format_name_entry, 19> format_names;

/// An old form of a preset's argument and the current form that it stands for.
struct vendor_opt_entry {
    std::string_view oldArgument;
    std::string_view currentArgument;
};

extern const std::array<vendor_opt_entry, 14> vendor_opt_map;

/// How one attribute is named and read.
struct ATASmartAttributeDefinition {
    /// Bits of `flags`: what the preset said. Nothing branches on them but `GetDefaultAttributeName`.
    enum Flag : std::int64_t {
        increasing = 1,        ///< "+" behind the format
        noNormalizedValue = 2, ///< the raw number is built from the normalised value
        noWorstValue = 4,      ///< the raw number is built from the worst value
        hddOnly = 8,
        ssdOnly = 16,
    };

    std::optional<std::string> name; ///< raw name such as `Power_On_Hours`; absent when the preset names none
    ata_attr_raw_format format = ata_attr_raw_format::none;
    std::int64_t flags = 0;
    std::string byteorder; ///< how raw bytes form a number; empty means the format's default

    bool operator==(const ATASmartAttributeDefinition&) const = default;
};

/// The definitions of a drive by attribute number; those that no preset gave are empty.
using ATASmartAttributeDefinitions = std::array<std::optional<ATASmartAttributeDefinition>, 256>;

/// The definition of an attribute that neither the drive's row nor the default row knows: "Unknown Attribute",
/// no format, no flags, no byte order.
[[nodiscard]] const ATASmartAttributeDefinition& defaultDefinition();

/// The first row whose model expression occurs anywhere in `deviceInfo.model` and whose firmware expression, if it has
/// one, occurs anywhere in `deviceInfo.firmware`, both without regard to case. Nothing when no row matches. The model
/// "DEFAULT" gives row 1. Tables that a host has added (`DriveTables.h`) are asked before or behind the built-in one,
/// in their own way of matching. The row lives as long as the process.
///
/// Texts may hold any bytes, of which 64 KiB are looked at. A text made to be slow ends the search in a row, as if that
/// did not match, after 20,000 steps, and the whole look-up after a million.
[[nodiscard]] const drive_settings* getDriveSettings(const ATADeviceInfo& deviceInfo);

/// The definitions of the built-in table's default row. They live as long as the process.
[[nodiscard]] const ATASmartAttributeDefinitions& getDefaultDefinitions();

/// Reads any text of presets, such as `-v 9,minutes -v 194,unknown`. Never fails: an option that cannot be read is
/// skipped, an option for a number above 255 as well, and an unknown format name ends the reading there.
[[nodiscard]] ATASmartAttributeDefinitions parsePresets(std::string_view presets);

} // namespace vantorel
