// SPDX-License-Identifier: GPL-2.0-or-later
#include "HistoryChoice.h"

#include "host/console/Output.h"
#include "host/history/History.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace vantorel::host {

namespace {

namespace fs = std::filesystem;

void judgeAll(HistoryStore& store, std::vector<DriveOutcome>& outcomes)
{
    const Timestamp now = currentTime();
    for (DriveOutcome& outcome : outcomes) {
        if (outcome.judged)
            outcome.comparedTo = judgeBeside(store, *outcome.judged, now);
    }
}

} // namespace

std::string usualHistory()
{
    // What the service manager has made for a service (systemd.exec(5), StateDirectory=).
    if (const char* const folder = std::getenv("STATE_DIRECTORY"); folder && *folder == '/')
        return fs::path(folder) / "history.db";
    if (geteuid() == 0)
        return "/var/lib/vantorel/history.db";
    const char* const state = std::getenv("XDG_STATE_HOME");
    if (state && *state == '/') // any other is to be passed over
        return fs::path(state) / "vantorel/history.db";
    const char* const home = std::getenv("HOME");
    return home && *home == '/' ? std::string(fs::path(home) / ".local/state/vantorel/history.db") : std::string();
}

CLI::Option* addHistoryOption(CLI::App& verb, std::string& path)
{
    return verb.add_option("--db", path, "The history, in place of the usual one")->type_name("FILE");
}

HistoryStore openHistory(const std::string& path, HistoryStore::Use use, std::chrono::milliseconds patience)
{
    const std::string chosen = path.empty() ? usualHistory() : path;
    if (chosen.empty())
        throw CommandError("history", "there is no folder for it; name a file with --db");
    std::error_code failure;
    if (use == HistoryStore::Use::write) {
        if (path.empty())
            fs::create_directories(fs::path(chosen).parent_path(), failure);
        if (failure)
            throw CommandError(chosen, failure.message());
    } else if (!fs::exists(chosen, failure)) {
        throw CommandError(chosen,
                           failure ? failure.message() : "there is no history yet; `vantorel history add` begins one");
    }
    return HistoryStore(chosen, use, patience);
}

void judgeBesideHistory(std::vector<DriveOutcome>& outcomes, const std::string& path, bool isThisComputer)
{
    if (!path.empty()) {
        HistoryStore store = openHistory(path, HistoryStore::Use::read);
        return judgeAll(store, outcomes);
    }
    std::error_code ignored;
    const std::string usual = usualHistory();
    if (!isThisComputer || !fs::exists(usual, ignored))
        return;
    try {
        // Nobody waits long for what was not asked for.
        HistoryStore store(usual, HistoryStore::Use::read, std::chrono::seconds(1));
        judgeAll(store, outcomes);
    } catch (const CommandError& error) {
        tell("vantorel: " + std::string(error.what()) + "; drives are judged without it");
    }
}

} // namespace vantorel::host
