// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Series.h"
#include "documents/DiskTree.h"
#include "host/views/CheckView.h"
#include "vantorel/base/Data.h"
#include "vantorel/disks/DriveStatistics.h"
#include "vantorel/health/JudgedReading.h"
#include "vantorel/smart/records/NvmeSmartObject.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::host {

/// A name and what there is to say under it.
using Fact = std::pair<std::string, std::string>;

/// What a page tells of one drive.
struct PageDrive {
    CheckedDrive head;                                    ///< its verdict is that of `reading`
    std::shared_ptr<const health::JudgedReading> reading; ///< null when there is none
    std::vector<Fact> identity;       ///< what the drive is, without model and size; empty texts are left out
    std::vector<std::string> remarks; ///< of ours, about this drive
    std::vector<Series> growth;       ///< the numbers that changed from report to report
    std::optional<DiskNode> tree;     ///< the drive and what lies on it
    std::optional<DriveStatistics> counters;
    std::optional<std::vector<NVMeSmartError>> errors; ///< the error log, newest first
    std::vector<std::pair<std::string, Data>> bytes;   ///< what all of it was made of, by names
};

/// What a page tells of a machine.
struct Page {
    std::string machine;              ///< what it is called
    std::vector<Fact> facts;          ///< about machine and time
    std::vector<std::string> remarks; ///< what a reader has to know before the rest
    std::vector<PageDrive> drives;    ///< in any order
    std::vector<DiskNode> others;     ///< what lies on no single one of the drives, such as a RAID set
};

/// What is known of a drive by its reading: verdict, table, bytes.
void addReading(PageDrive& drive, std::shared_ptr<const health::JudgedReading> reading);

/// The last part of a path, as the name of what lies there.
[[nodiscard]] std::string fileNameOf(const std::string& path);

/// "2026-01-31 23:59:59 UTC" of "2026-01-31T23:59:59Z", with any fraction; any other text as it is.
[[nodiscard]] std::string timeForReader(const std::string& time);

/// The text, or nothing for one that is missing or says that it is not known.
[[nodiscard]] std::string knownText(const std::optional<std::string>& text);

/// Gives the drives of the page what the registry knows of them by their names: size, tree and counters; and the page
/// the disks that are left. On the registry's thread.
void addRegistry(Page& page);

} // namespace vantorel::host
