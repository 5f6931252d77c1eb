// SPDX-License-Identifier: GPL-2.0-or-later
// The two verbs that read drives: `smart` shows each in full, `check` all of them on a screen.
#include "documents/Documents.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/HistoryChoice.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/files/OutputFile.h"
#include "host/health/DriveReadings.h"
#include "host/page/OutcomePage.h"
#include "host/page/Page.h"
#include "host/views/OutcomeView.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::host {

namespace {

struct SmartArguments {
    std::vector<std::string> names;
    bool json = false;
    bool raw = false;
    bool brief = false;
    bool html = false;
    std::string output = "-";
    std::string history;
};

/// Tells on standard error of the drives that ought to have been read and were not.
int smart(const CLI::App& app, const SmartArguments& arguments)
{
    const std::string path = loadMachine(app);
    std::vector<DriveOutcome> outcomes = readDrives(arguments.names);
    judgeBesideHistory(outcomes, arguments.history, isThisComputer(app));
    findVolumes(outcomes);
    complainOfFaults(outcomes);
    if (arguments.html) {
        writeText(arguments.output, pageText(outcomePage(path, outcomes)));
    } else if (arguments.json) {
        print(healthDocument(path, outcomes, arguments.raw));
    } else if (outcomes.empty()) {
        print("No drives.\n");
    } else if (arguments.brief) {
        print(checkText(outcomes));
    } else {
        const char* between = "";
        for (const DriveOutcome& outcome : outcomes) {
            if (outcome.kind == DriveOutcome::Kind::noDrive) // told above, and there is nothing to show
                continue;
            print(std::exchange(between, "\n") + outcomeText(outcome));
        }
    }
    return statusOf(outcomes);
}

CLI::Option* addNames(CLI::App& verb, SmartArguments& arguments)
{
    verb.add_option("DISK", arguments.names, "Drives by device name or serial number; all of them unless named");
    auto* const json = verb.add_flag("--json", arguments.json, "Print as JSON");
    verb.add_flag("--raw", arguments.raw, "With the raw bytes of every drive")->needs(json);
    addHistoryOption(verb, arguments.history);
    return json;
}

} // namespace

int check(const CLI::App& app)
{
    return smart(app, {.brief = true});
}

void addSmart(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("smart", "The health of drives, with every value");
    const auto arguments = std::make_shared<SmartArguments>();
    auto* const json = addNames(*verb, *arguments);
    verb->add_flag("--brief", arguments->brief, "One line a drive, as check shows it")->excludes(json);
    verb->callback([&app, arguments, &status] { status = smart(app, *arguments); });
}

void addCheck(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("check", "Which drives need a hand, and why: a line a drive");
    const auto arguments = std::make_shared<SmartArguments>();
    arguments->brief = true;
    auto* const json = addNames(*verb, *arguments);
    auto* const html = verb->add_flag("--html", arguments->html, "Make a page of it, with every value")->excludes(json);
    verb->add_option("-o,--output", arguments->output, "The file to write; - for standard output")
        ->type_name("FILE")
        ->needs(html)
        ->capture_default_str();
    verb->callback([&app, arguments, &status] { status = smart(app, *arguments); });
}

} // namespace vantorel::host
