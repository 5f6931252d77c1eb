// SPDX-License-Identifier: GPL-2.0-or-later
#include "PageModel.h"

#include "vantorel/base/Text.h"
#include "vantorel/disks/Vantorel.h"

#include <cstdint>
#include <filesystem>
#include <map>

namespace vantorel::host {

void addReading(PageDrive& drive, std::shared_ptr<const health::JudgedReading> reading)
{
    drive.reading = std::move(reading);
    drive.head.verdict = &drive.reading->verdict;
    const health::Reading view = drive.reading->view();
    const auto add = [&](const char* name, DataView bytes) {
        if (!bytes.empty())
            drive.bytes.emplace_back(name, Data(bytes.begin(), bytes.end()));
    };
    add(drive.reading->isNvme() ? "Health log" : "SMART data", view.data);
    add("Thresholds", view.thresholds);
    add("Identify data", view.identify);
}

std::string fileNameOf(const std::string& path)
{
    const std::string name = std::filesystem::path(path).lexically_normal().filename().string();
    return name.empty() ? path : name;
}

std::string timeForReader(const std::string& time)
{
    constexpr std::size_t seconds = 19; // up to them
    if (time.size() <= seconds || time[10] != 'T' || time.back() != 'Z')
        return time;
    return time.substr(0, 10) + ' ' + time.substr(11, 8) + " UTC";
}

std::string knownText(const std::optional<std::string>& text)
{
    return text && base::lowercased(base::trimmed(*text)) != "unknown" ? *text : "";
}

void addRegistry(Page& page)
{
    std::map<std::string, PageDrive*, std::less<>> byName;
    for (PageDrive& drive : page.drives)
        byName.try_emplace(drive.head.name, &drive);
    for (DiskNode& node : diskTree(Vantorel::shared())) {
        const auto drive = byName.find(node.disk->bsdName().value_or(""));
        if (drive == byName.end()) {
            page.others.push_back(std::move(node));
            continue;
        }
        PageDrive& known = *drive->second;
        if (const auto size = node.disk->size(); size && *size > 0)
            known.head.size = static_cast<std::uint64_t>(*size);
        if (const auto* const disk = dynamic_cast<const Drive*>(node.disk.get()))
            known.counters = disk->statistics();
        known.tree = std::move(node);
    }
}

} // namespace vantorel::host
