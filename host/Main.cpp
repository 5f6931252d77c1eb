// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/JsonDocument.h"
#include "documents/Status.h"
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/choice/TableChoice.h"
#include "host/console/Output.h"
#include "host/help/Completion.h"
#include "host/help/HelpText.h"
#include "host/help/Suggestion.h"
#include "vantorel/ata/DriveTables.h"
#include "vantorel/smart/Version.h"
#include "vantorel/system/Localization.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <new>
#include <span>
#include <string>
#include <string_view>

using namespace vantorel;

namespace {

std::string versionText()
{
    std::string text = fmt::format("vantorel {}", reinterpret_cast<const char*>(VantorelVersionString));
    for (const DriveTable& table : {std::cref(builtInDriveTable()), std::cref(recentDriveTable())})
        text += fmt::format("\ndrive table: {}, revision {}", table.name, table.revision);
    text += "\nnumbers: " + system::numberLocale();
    return text;
}

struct Verb {
    std::string_view name;
    void (*add)(CLI::App& app, int& status);
};

// In the order of the help text.
constexpr Verb verbs[] = {
    {"check", host::addCheck},       {"smart", host::addSmart},
    {"list", host::addList},         {"errors", host::addErrors},
    {"history", host::addHistory},   {"stats", host::addStats},
    {"metrics", host::addMetrics},   {"watch", host::addWatch},
    {"report", host::addReport},     {"show", host::addShow},
    {"diff", host::addDiff},         {"fleet", host::addFleet},
    {"record", host::addRecord},     {"machine", host::addMachineCheck},
    {"decode", host::addDecode},     {"db", host::addDatabase},
    {"compress", host::addCompress}, {"expand", host::addExpand},
    {"help", host::addHelp},
};

/// Adds the verbs that stand among the arguments, as making all of them takes a third of a millisecond; all of them
/// where none does, for a fault, and where help is asked for.
void addVerbs(CLI::App& app, int& status, std::span<char* const> arguments)
{
    const auto isNamed = [&](const Verb& verb) {
        return std::ranges::any_of(arguments, [&](std::string_view argument) { return argument == verb.name; });
    };
    const bool helps = std::ranges::any_of(arguments, [](std::string_view argument) {
        return argument == "help" || argument == "--help" || argument == "-h" || argument == host::completeOption;
    });
    const bool all = helps || std::ranges::none_of(verbs, isNamed);
    for (const Verb& verb : verbs) {
        if (all || isNamed(verb))
            verb.add(app, status);
    }
}

int run(int argc, char** argv)
{
    CLI::App app("State and health of a machine's drives", "vantorel");
    app.require_subcommand(0, 1);
    app.set_version_flag("--version", versionText, "Print the versions of the library and of the drive table");
    app.fallthrough();
    app.formatter(std::make_shared<host::HelpText>());
    app.footer("Without a verb it does what check does. `vantorel help VERB` tells what a verb takes, the manual pages "
               "vantorel(1), vantorel-json(5) and vantorel-recording(5) the rest.");
    host::addMachineOptions(app);
    host::addDriveTables(app);
    int status = success;
    addVerbs(app, status, {argv + 1, argv + argc});
    app.final_callback([&app, &status] {
        if (app.get_subcommands().empty())
            status = host::check(app);
    });
    if (argc > 1 && std::string_view(argv[1]) == host::completeOption) {
        host::print(host::completions(app, {argv + 2, argv + argc}));
        return status;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return app.exit(request);
    } catch (const CLI::ParseError& error) {
        const auto unknown = app.remaining(true);
        if (unknown.empty())
            throw host::CommandError("arguments", error.what());
        throw host::CommandError("arguments", "what is \"" + unknown.front() + "\"?" +
                                                  host::suggestionFor(host::lastVerb(app), unknown.front()) +
                                                  " See --help");
    }
    return status;
}

/// Whether JSON is wanted, told apart from the reading of the arguments: these may be what is wrong.
bool wantsJson(int argc, char** argv)
{
    if (argc > 1 && std::string_view(argv[1]) == host::completeOption)
        return false;
    return std::any_of(argv + 1, argv + argc, [](std::string_view argument) {
        return argument == "--json" || argument == "--ndjson" || argument.starts_with("--json=");
    });
}

} // namespace

int main(int argc, char** argv)
{
    host::holdStandardStreams();
    // A document is read by a program, which must find the same texts in it wherever the run takes place.
    if (wantsJson(argc, argv))
        setenv("LC_ALL", "C", 1);
    int status = usageError;
    std::string failure;
    try {
        status = run(argc, argv);
    } catch (const std::bad_alloc&) {
        failure = "memory: there is not enough of it";
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (!failure.empty()) {
        std::fflush(stdout);
        host::tell("vantorel: " + failure);
        if (wantsJson(argc, argv))
            std::fputs(jsonLine({{"format", documentFormat}, {"error", failure}}).c_str(), stdout);
    }
    if (std::fflush(stdout) != 0) {
        host::complain("standard output", host::reason(errno));
        return usageError;
    }
    return status;
}
