// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "PageModel.h"
#include "host/files/ReportFile.h"

#include <string>
#include <utility>
#include <vector>

namespace vantorel::host {

/// Reports of one machine, the earliest first.
struct ReportSeries {
    std::vector<ReportFile> reports;
    /// What is no part of it, by its path, and why: reports of another machine than the latest one is of, and where
    /// there are several those that do not tell their time.
    std::vector<std::pair<std::string, std::string>> leftOut;
};

/// Puts reports in the order of their times. There is at least one, and at least one stays.
[[nodiscard]] ReportSeries seriesOf(std::vector<ReportFile> reports);

/// The page of the machine as it stood at the last report, whose machine is installed where it has one. Each drive is
/// judged beside its earliest reading, and the numbers that changed are charts. On the registry's thread.
[[nodiscard]] Page reportPage(const ReportSeries& series);

} // namespace vantorel::host
