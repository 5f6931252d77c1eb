// SPDX-License-Identifier: GPL-2.0-or-later
#include "ReportSearch.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <set>
#include <system_error>
#include <utility>

namespace vantorel::host {

namespace {

namespace fs = std::filesystem;
using Complain = std::function<void(std::string_view path, std::string_view why)>;

/// Links to folders are not followed: they may lead back. What is no regular file, such as a pipe, is passed over.
void search(const fs::path& folder, std::vector<std::string>& found, const Complain& complain)
{
    std::error_code error;
    std::vector<fs::path> folders{folder};
    while (!folders.empty()) {
        const fs::path here = std::move(folders.back());
        folders.pop_back();
        fs::directory_iterator entries(here, error);
        for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
            std::error_code ignored;
            if (entries->is_directory(ignored) && !entries->is_symlink(ignored))
                folders.push_back(entries->path());
            else if (entries->path().extension() == ".vantorel" && entries->is_regular_file(ignored))
                found.push_back(entries->path().string());
        }
        if (error)
            complain(here.string(), error.message());
    }
}

} // namespace

std::vector<std::string> reportsUnder(const std::vector<std::string>& paths, const Complain& complain)
{
    std::vector<std::string> reports;
    for (const std::string& path : paths) {
        std::error_code ignored;
        std::vector<std::string> found;
        if (fs::is_directory(path, ignored))
            search(path, found, complain);
        else
            found.push_back(path);
        std::ranges::sort(found);
        std::ranges::move(found, std::back_inserter(reports));
    }
    std::set<std::string> seen;
    std::erase_if(reports, [&](const std::string& report) { return !seen.insert(report).second; });
    return reports;
}

} // namespace vantorel::host
