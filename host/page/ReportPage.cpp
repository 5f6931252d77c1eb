// SPDX-License-Identifier: GPL-2.0-or-later
#include "ReportPage.h"

#include "documents/Status.h"
#include "host/console/Output.h"
#include "host/files/ReportDiff.h"
#include "host/views/ReportView.h"
#include "vantorel/base/Text.h"
#include "vantorel/nvme/NvmeErrorLog.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <memory>
#include <set>

namespace vantorel::host {

namespace {

std::optional<Time> timeOf(const ReportFile& report)
{
    return report.origin.created ? parsedTime(*report.origin.created) : std::nullopt;
}

/// Whether two reports are of one machine: as the platform calls it, else by a drive that both know.
bool areOfOneMachine(const ReportFile& one, const ReportFile& other)
{
    if (!one.machineId.empty() && !other.machineId.empty())
        return one.machineId == other.machineId;
    if (one.drives.empty() && other.drives.empty())
        return true;
    return std::ranges::any_of(sameDrives(one, other), [](const ReportedDrive* drive) { return drive != nullptr; });
}

std::string stateOf(const ReportedDrive& drive)
{
    if (drive.smart == ReportedDrive::Smart::none)
        return "without SMART";
    return drive.stored.failure && drive.stored.failure->asleep ? "asleep" : "not read";
}

void addSavedBytes(PageDrive& page, const ReportDrive& stored)
{
    const auto add = [&](const char* name, const std::optional<Data>& bytes) {
        if (bytes && !bytes->empty())
            page.bytes.emplace_back(name, *bytes);
    };
    if (!page.reading) {
        add("SMART data", stored.smartData);
        add("Thresholds", stored.thresholdsData);
        add("Identify data", stored.identify);
    }
    add("Error log", stored.errorLog);
    if (stored.errorLog)
        page.errors = processErrorLog(DataView(*stored.errorLog));
}

PageDrive driveOf(const ReportedDrive& drive)
{
    const ReportDrive& stored = drive.stored;
    PageDrive page;
    page.head.name = drive.name;
    page.head.model = stored.model.value_or("-");
    page.head.isFault = statusOf(drive) != success;
    page.identity = {{"Vendor", knownText(stored.vendor)},     {"Serial", drive.identity.serial},
                     {"Firmware", drive.identity.firmware},    {"Attached by", knownText(stored.interface)},
                     {"Protocol", knownText(stored.protocol)}, {"Kind", knownText(stored.kind)}};
    if (drive.judged) {
        addReading(page, std::make_shared<const health::JudgedReading>(*drive.judged));
    } else {
        page.head.state = stateOf(drive);
        page.head.explanation = drive.fault.empty() ? absenceText(drive) : drive.fault;
    }
    addSavedBytes(page, stored);
    return page;
}

/// The readings of each drive of the last report, the earliest first, and remarks on drives that it has no more.
class Histories {
public:
    explicit Histories(const std::vector<ReportFile>& reports) : readings_(reports.back().drives.size())
    {
        const ReportFile& last = reports.back();
        for (const ReportFile& report : reports) {
            const std::vector<const ReportedDrive*> same = sameDrives(report, last);
            for (std::size_t i = 0; i < same.size(); ++i) {
                if (same[i] && same[i]->judged)
                    readings_[i].push_back({timeOf(report).value_or(Time()), &*same[i]->judged});
            }
            for (const ReportedDrive& drive : report.drives) {
                if (std::ranges::find(same, &drive) == same.end())
                    gone_.insert(fmt::format("{} ({}{}{})", drive.name, drive.stored.model.value_or("unnamed"),
                                             drive.identity.serial.empty() ? "" : ", serial ",
                                             base::trimmed(drive.identity.serial)));
            }
        }
    }

    [[nodiscard]] const std::vector<TimedReading>& of(std::size_t drive) const { return readings_[drive]; }

    /// The drives of earlier reports that the last one does not know.
    [[nodiscard]] const std::set<std::string>& gone() const { return gone_; }

private:
    std::vector<std::vector<TimedReading>> readings_;
    std::set<std::string> gone_;
};

/// Judges the last reading beside the first, and adds what changed over all of them.
void addHistory(PageDrive& drive, const std::vector<TimedReading>& readings)
{
    if (!drive.reading || readings.size() < 2 || readings.front().reading->isNvme() != drive.reading->isNvme())
        return;
    auto compared = std::make_shared<health::JudgedReading>(*drive.reading);
    compared->verdict = health::judge(drive.reading->view(), readings.front().reading->view());
    drive.reading = compared;
    drive.head.verdict = &drive.reading->verdict;
    const auto& comparison = drive.reading->verdict.comparison;
    if (comparison && comparison->hours.value_or(0) < 0)
        drive.remarks.push_back(
            fmt::format("It had been on for {} hours more at the first of these reports than at the "
                        "last: was a clock set back?",
                        -*comparison->hours));
    drive.growth = changedNumbers(readings);
}

std::vector<Fact> factsOf(const ReportSeries& series)
{
    const ReportFile& report = series.reports.back();
    const ReportOrigin& origin = report.origin;
    std::vector<Fact> facts = {{"Report", report.path}, {"Made at", timeForReader(origin.created.value_or(""))}};
    if (series.reports.size() > 1)
        facts.emplace_back("Beside it", fmt::format("{} earlier, from {} on", series.reports.size() - 1,
                                                    timeForReader(series.reports.front().origin.created.value_or(""))));
    if (origin.system)
        facts.emplace_back("Made on", fmt::format("{} {}, {}", *origin.system, origin.kernel.value_or("-"),
                                                  origin.architecture.value_or("-")));
    facts.emplace_back("Made by", "vantorel " + report.version.value_or("of an unknown version"));
    facts.emplace_back("Drive table", origin.table.value_or(""));
    return facts;
}

} // namespace

ReportSeries seriesOf(std::vector<ReportFile> reports)
{
    ReportSeries series;
    const bool areSeveral = reports.size() > 1;
    const bool anyTellsTime =
        std::ranges::any_of(reports, [](const auto& report) { return timeOf(report).has_value(); });
    if (areSeveral && !anyTellsTime)
        throw CommandError(reports.front().path, "no report tells when it was made; show one at a time");
    for (ReportFile& report : reports) {
        if (areSeveral && !timeOf(report))
            series.leftOut.emplace_back(report.path, "does not tell when it was made, and is left out");
        else
            series.reports.push_back(std::move(report));
    }
    std::ranges::stable_sort(series.reports, {}, timeOf);
    for (const ReportFile& report : series.reports) {
        if (!areOfOneMachine(report, series.reports.back()))
            series.leftOut.emplace_back(report.path, "is of another machine than " + series.reports.back().path +
                                                         ", and is left out");
    }
    std::erase_if(series.reports, [&](const ReportFile& report) {
        return std::ranges::any_of(series.leftOut, [&](const auto& left) { return left.first == report.path; });
    });
    return series;
}

Page reportPage(const ReportSeries& series)
{
    const ReportFile& last = series.reports.back();
    Page page;
    page.machine = fileNameOf(last.path);
    page.facts = factsOf(series);
    for (const auto& [path, why] : series.leftOut)
        page.remarks.push_back(path + " " + why + ".");
    if (!last.listingFault.empty())
        page.remarks.push_back("What lies on the drives is not known: " + last.listingFault + ".");
    const Histories histories(series.reports);
    if (!histories.gone().empty())
        page.remarks.push_back(
            fmt::format("In earlier reports, and not in the last: {}.", fmt::join(histories.gone(), ", ")));
    for (std::size_t i = 0; i < last.drives.size(); ++i) {
        page.drives.push_back(driveOf(last.drives[i]));
        addHistory(page.drives.back(), histories.of(i));
    }
    if (last.listingFault.empty())
        addRegistry(page);
    return page;
}

} // namespace vantorel::host
