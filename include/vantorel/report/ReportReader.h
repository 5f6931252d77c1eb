// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

/// A report that cannot be read; the text says what is wrong and where.
class ReportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Why the SMART data of a drive are not in a report.
struct ReportedFailure {
    bool opened = false; ///< whether the drive was sent a command at all
    bool asleep = false; ///< it slept and was left asleep, which is no fault of it
    std::string error;

    bool operator==(const ReportedFailure&) const = default;
};

/// One drive of a report: its identity as it was described, and its SMART data where they could be read. A text is
/// absent when the report holds null for it or does not know the key.
struct ReportDrive {
    std::optional<std::string> vendor;
    std::optional<std::string> model;
    std::optional<std::string> bsdName;
    std::optional<std::string> interface;        ///< raw text such as "ahci"
    std::optional<std::string> kind;             ///< raw text such as "ssd"
    std::optional<std::string> protocol;         ///< raw text such as "sata"
    std::optional<Data> smartData;               ///< the ATA data sector or the NVMe health log
    std::optional<Data> thresholdsData;          ///< the ATA thresholds sector
    std::optional<PropertyTable> processedSmart; ///< the values as they were shown when the report was made
    std::optional<ReportedFailure> failure;      ///< of a drive that has SMART and could not be read
    std::optional<Data> identify;                ///< IDENTIFY DEVICE or Identify Controller data
    std::optional<bool> failing;                 ///< ATA: as the drive judges itself
    std::optional<Data> errorLog;                ///< NVMe: log page 1

    bool operator==(const ReportDrive&) const = default;
};

/// A volume as it stood when the report was made.
struct ReportVolume {
    std::optional<std::string> disk; ///< device name
    std::optional<std::string> kind; ///< file system, such as "apfs"
    std::optional<std::string> name;
    std::optional<std::string> uuid;
    std::optional<bool> mountable;
    std::vector<std::string> mountPoints; ///< none of a volume that is not mounted; the same for the three below
    std::optional<std::uint64_t> size;    ///< bytes of the file system
    std::optional<std::uint64_t> free;    ///< bytes
    std::optional<bool> writable;

    bool operator==(const ReportVolume&) const = default;
};

/// When, where and by what a report was made.
struct ReportOrigin {
    std::optional<std::string> created;      ///< in UTC, such as "2026-01-31T23:59:59Z"
    std::optional<std::string> system;       ///< of the computer that made it, such as "Linux"
    std::optional<std::string> kernel;       ///< its release
    std::optional<std::string> architecture; ///< such as "x86_64"
    std::optional<std::string> tool;         ///< version of the tool
    std::optional<std::string> table;        ///< which drive table it had

    bool operator==(const ReportOrigin&) const = default;
};

/// Opens what `SystemReport::generate` made, on any computer, for as long as the object lives. It needs no machine.
///
/// A report of an older version may lack keys, and one of a later version may have more: what is missing is absent, and
/// what is not known is told by `unknownKeys`. A known key with a value of the wrong type is an error.
/// Safe on any bytes; see `system::unarchiveObjectWithData` for the bounds. A reader never changes: any thread may ask.
class ReportReader {
public:
    /// Gzip data of 256 MiB is far beyond the registry of any machine.
    static constexpr std::size_t largestRegistry = std::size_t{256} << 20;

    /// Throws `ReportError` when the bytes are no keyed archive or the archive is no report.
    explicit ReportReader(DataView report);

    /// The version of the library that made the report.
    [[nodiscard]] const std::optional<std::string>& version() const { return version_; }

    /// Each fact absent in a report of a version that did not tell it.
    [[nodiscard]] const ReportOrigin& origin() const { return origin_; }

    /// The drives in the order of the report.
    [[nodiscard]] const std::vector<ReportDrive>& drives() const { return drives_; }

    /// The volumes, the mounted ones first, in the order of mounting.
    [[nodiscard]] const std::vector<ReportVolume>& volumes() const { return volumes_; }

    /// Why the registry could not be listed whole; empty when it could.
    [[nodiscard]] const std::string& listingFailure() const { return listingFailure_; }

    /// The registry listing as it is stored: gzip data.
    [[nodiscard]] const std::optional<Data>& ioreg() const { return ioreg_; }

    /// The registry listing itself, an XML property list; empty when the report has none. Throws `ReportError` when the
    /// stored bytes are no gzip data (RFC 1952), are damaged or cut, or expand to more than `limit` bytes.
    [[nodiscard]] Data expandedRegistry(std::size_t limit = largestRegistry) const;

    /// The keys this version does not know, as paths such as "comment" and "drives[2].firmware"; at most a hundred.
    [[nodiscard]] const std::vector<std::string>& unknownKeys() const { return unknownKeys_; }

private:
    void readOrigin(PropertyTable& root);
    void readNotes(PropertyTable& root);

    std::optional<std::string> version_;
    ReportOrigin origin_;
    std::vector<ReportDrive> drives_;
    std::vector<ReportVolume> volumes_;
    std::string listingFailure_;
    std::optional<Data> ioreg_;
    std::vector<std::string> unknownKeys_;
};

} // namespace vantorel
