// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/files/OutputFile.h"
#include "host/files/ReportFile.h"
#include "host/page/Page.h"
#include "host/page/ReportPage.h"
#include "host/views/ReportView.h"
#include "vantorel/system/IOReturn.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace vantorel::host {

namespace {

namespace fs = std::filesystem;

struct ShowArguments {
    std::vector<std::string> reports;
    std::string folder;
    std::string output = "-";
    bool json = false;
    bool raw = false;
    bool html = false;
};

using NamedBytes = std::pair<std::string, const Data*>;

/// The drives' names as the starts of file names. They are foreign texts, which must not lead out of the folder, and no
/// two may be the same.
std::vector<std::string> fileNames(const ReportFile& report)
{
    const auto isPlain = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); };
    std::set<std::string_view> taken;
    std::vector<std::string> names;
    for (const ReportedDrive& drive : report.drives) {
        const bool isUsable = !drive.name.empty() && std::ranges::all_of(drive.name, isPlain);
        const bool isFirst = taken.insert(drive.name).second;
        names.push_back(isUsable && isFirst ? drive.name : fmt::format("drive-{}", names.size() + 1));
    }
    return names;
}

/// A machine.json and the files beside it, so that a folder of them is a recorded machine.
class Extract {
public:
    explicit Extract(const ReportFile& report)
    {
        if (!report.listing.empty())
            files_.emplace_back("ioreg.plist", &report.listing);
        const std::vector<std::string> names = fileNames(report);
        for (std::size_t i = 0; i < names.size(); ++i)
            addDrive(report.drives[i].stored, names[i]);
        for (const ReportVolume& volume : report.volumes) {
            if (volume.disk)
                machine_["volumes"].push_back(volumeJson(volume));
        }
        if (report.listing.empty())
            return;
        const std::string text = machine_.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
        machineBytes_.assign(text.begin(), text.end());
        files_.emplace_back("machine.json", &machineBytes_);
    }
    Extract(const Extract&) = delete;
    Extract& operator=(const Extract&) = delete;

    [[nodiscard]] const std::vector<NamedBytes>& files() const { return files_; }

private:
    void addDrive(const ReportDrive& drive, const std::string& name)
    {
        Json answers = Json::object();
        const auto add = [&](const char* key, const std::optional<Data>& bytes) {
            if (!bytes)
                return;
            const std::string file = name + '-' + key + ".bin";
            files_.emplace_back(file, &*bytes);
            answers[key] = file;
        };
        const bool isLog = isNvme(drive);
        add("identify", drive.identify);
        add(isLog ? "log" : "data", drive.smartData);
        add("thresholds", drive.thresholdsData);
        add("errorLog", drive.errorLog);
        if (drive.failing)
            answers["exceeded"] = *drive.failing;
        else if (!isLog) // not to be taken for a good verdict
            answers["failures"]["status"] = system::nameOfIOReturn(system::kIOReturnUnsupported);
        const bool wasOpened = drive.smartData || (drive.failure && drive.failure->opened);
        if (drive.bsdName && wasOpened)
            machine_["drives"].push_back({{"disk", *drive.bsdName}, {isLog ? "nvme" : "ata", answers}});
    }

    std::vector<NamedBytes> files_;
    Json machine_ = {{"listing", "ioreg.plist"}, {"volumes", Json::array()}, {"drives", Json::array()}};
    Data machineBytes_;
};

/// Writes nothing when a file of one of the names is there already.
void extract(const ReportFile& report, const std::string& folder)
{
    const Extract whole(report);
    const std::vector<NamedBytes>& files = whole.files();
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

/// Tells what of a report cannot be read. How its drives were doing is what is shown, and no failure of showing it.
int tellFaults(const ReportFile& report)
{
    int status = success;
    if (!report.listingFault.empty()) {
        complain(report.path, report.listingFault);
        status |= readFailed;
    }
    for (const ReportedDrive& drive : report.drives) {
        if (drive.fault.empty())
            continue;
        complain(drive.name, drive.fault);
        status |= readFailed;
    }
    return status;
}

int showPage(const ShowArguments& arguments)
{
    std::vector<ReportFile> reports;
    for (const std::string& path : arguments.reports)
        reports.push_back(openReport(path));
    const ReportSeries series = seriesOf(std::move(reports));
    int status = success;
    for (const auto& [path, why] : series.leftOut) {
        complain(path, why);
        status |= usageError;
    }
    for (const ReportFile& report : series.reports)
        status |= tellFaults(report);
    const ReportFile& last = series.reports.back();
    if (last.listingFault.empty())
        loadReportedMachine(last.path);
    writeText(arguments.output, pageText(reportPage(series)));
    return status;
}

int show(const ShowArguments& arguments)
{
    if (arguments.html)
        return showPage(arguments);
    if (arguments.reports.size() > 1)
        throw CommandError(arguments.reports[1], "several reports are shown as one page: --html");
    const ReportFile report = openReport(arguments.reports.front());
    if (!arguments.folder.empty())
        extract(report, arguments.folder);
    print(arguments.json ? reportJson(report, arguments.raw) : reportText(report));
    return tellFaults(report);
}

} // namespace

void addShow(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("show", "Open a report: its drives, as stored and as decoded today");
    const auto arguments = std::make_shared<ShowArguments>();
    verb->add_option("FILE", arguments->reports, "The report; with --html several of one machine, which are compared")
        ->required();
    auto* const json = verb->add_flag("--json", arguments->json, "Print as JSON");
    auto* const html = verb->add_flag("--html", arguments->html, "Make a page of it")->excludes(json);
    verb->add_option("-o,--output", arguments->output, "The file to write the page to; - for standard output")
        ->type_name("FILE")
        ->needs(html)
        ->capture_default_str();
    verb->add_flag("--raw", arguments->raw, "With the raw bytes of every drive")->needs(json);
    verb->add_option("--extract", arguments->folder,
                     "Also write sectors, logs and registry listing as files into this folder")
        ->type_name("DIR")
        ->excludes(html);
    verb->callback([arguments, &status] { status = show(*arguments); });
}

} // namespace vantorel::host
