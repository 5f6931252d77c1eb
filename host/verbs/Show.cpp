// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/Verbs.h"
#include "host/console/Output.h"
#include "host/console/Status.h"
#include "host/files/OutputFile.h"
#include "host/files/ReportFile.h"
#include "host/views/ReportView.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace vantorel::host {

namespace {

namespace fs = std::filesystem;

struct ShowArguments {
    std::string report;
    std::string folder;
    bool json = false;
};

using NamedBytes = std::pair<std::string, const Data*>;

/// The drive's name as the start of file names. It is a foreign text, which must not lead out of the folder nor be
/// that of another drive.
std::string fileNameOf(const ReportFile& report, std::size_t number)
{
    const std::string& name = report.drives[number].name;
    const auto isPlain = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); };
    const bool isFirst = std::ranges::find(report.drives, name, &ReportedDrive::name) ==
                         report.drives.begin() + static_cast<std::ptrdiff_t>(number);
    return isFirst && !name.empty() && std::ranges::all_of(name, isPlain) ? name : fmt::format("drive-{}", number + 1);
}

/// All that is in the report as bytes, under the names of the files that it becomes.
std::vector<NamedBytes> contents(const ReportFile& report)
{
    std::vector<NamedBytes> files;
    if (!report.listing.empty())
        files.emplace_back("ioreg.plist", &report.listing);
    for (std::size_t i = 0; i < report.drives.size(); ++i) {
        const ReportedDrive& drive = report.drives[i];
        const std::string name = fileNameOf(report, i);
        const bool isSector = drive.stored.thresholdsData.has_value();
        if (drive.stored.smartData)
            files.emplace_back(name + (isSector ? "-data.bin" : "-log.bin"), &*drive.stored.smartData);
        if (isSector)
            files.emplace_back(name + "-thresholds.bin", &*drive.stored.thresholdsData);
    }
    return files;
}

/// A machine.json over the files, so that the folder is a recorded machine.
std::string machineJson(const ReportFile& report)
{
    Json machine = {{"listing", "ioreg.plist"}, {"drives", Json::array()}};
    for (std::size_t i = 0; i < report.drives.size(); ++i) {
        const ReportedDrive& drive = report.drives[i];
        if (!drive.stored.smartData || !drive.stored.bsdName)
            continue;
        const std::string name = fileNameOf(report, i);
        Json entry = {{"disk", *drive.stored.bsdName}};
        if (drive.stored.thresholdsData)
            entry["ata"] = {{"data", name + "-data.bin"}, {"thresholds", name + "-thresholds.bin"}};
        else
            entry["nvme"] = {{"log", name + "-log.bin"}};
        machine["drives"].push_back(entry);
    }
    return machine.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

/// Writes nothing when a file of one of the names is there already.
void extract(const ReportFile& report, const std::string& folder)
{
    std::vector<NamedBytes> files = contents(report);
    const std::string machine = machineJson(report);
    const Data machineBytes(machine.begin(), machine.end());
    if (!report.listing.empty())
        files.emplace_back("machine.json", &machineBytes);

    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        throw CommandError(folder, error.message());
    for (const auto& [name, bytes] : files) {
        if (fs::exists(fs::path(folder) / name, error))
            throw CommandError((fs::path(folder) / name).string(), "exists already");
    }
    for (const auto& [name, bytes] : files) {
        OutputFile file((fs::path(folder) / name).string());
        file.write(*bytes);
        file.commit();
    }
}

int show(const ShowArguments& arguments)
{
    const ReportFile report = openReport(arguments.report);
    if (!arguments.folder.empty())
        extract(report, arguments.folder);
    print(arguments.json ? jsonLine(reportJson(report)) : reportText(report));
    int status = success;
    if (!report.listingFault.empty()) {
        complain(arguments.report, report.listingFault);
        status |= readFailed;
    }
    // How the drives were doing is what is shown, and no failure of showing it.
    for (const ReportedDrive& drive : report.drives) {
        if (drive.fault.empty())
            continue;
        complain(drive.name, drive.fault);
        status |= readFailed;
    }
    return status;
}

} // namespace

void addShow(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("show", "Open a report: its drives, as stored and as decoded today");
    const auto arguments = std::make_shared<ShowArguments>();
    verb->add_option("FILE", arguments->report, "The report")->required();
    verb->add_flag("--json", arguments->json, "Print as JSON");
    verb->add_option("--extract", arguments->folder,
                     "Also write sectors, logs and registry listing as files into this folder")
        ->type_name("DIR");
    verb->callback([arguments, &status] { status = show(*arguments); });
}

} // namespace vantorel::host
