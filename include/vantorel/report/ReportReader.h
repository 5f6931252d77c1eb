// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vantorel {

/// A report that cannot be read; the text says what is wrong and where.
class ReportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
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

    bool operator==(const ReportDrive&) const = default;
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

    /// The drives in the order of the report.
    [[nodiscard]] const std::vector<ReportDrive>& drives() const { return drives_; }

    /// The registry listing as it is stored: gzip data.
    [[nodiscard]] const std::optional<Data>& ioreg() const { return ioreg_; }

    /// The registry listing itself, an XML property list; empty when the report has none. Throws `ReportError` when the
    /// stored bytes are no gzip data (RFC 1952), are damaged or cut, or expand to more than `limit` bytes.
    [[nodiscard]] Data expandedRegistry(std::size_t limit = largestRegistry) const;

    /// The keys this version does not know, as paths such as "comment" and "drives[2].firmware"; at most a hundred.
    [[nodiscard]] const std::vector<std::string>& unknownKeys() const { return unknownKeys_; }

private:
    std::optional<std::string> version_;
    std::vector<ReportDrive> drives_;
    std::optional<Data> ioreg_;
    std::vector<std::string> unknownKeys_;
};

} // namespace vantorel
