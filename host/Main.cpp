// SPDX-License-Identifier: GPL-2.0-or-later
#include "Command.h"
#include "MachineChoice.h"
#include "vantorel/ata/DriveDatabase.h"
#include "vantorel/smart/Version.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <system_error>

using namespace vantorel;

namespace {

std::string versionText()
{
    return fmt::format("vantorel {}\ndrive table {}", reinterpret_cast<const char*>(VantorelVersionString),
                       builtin_knowndrives[0].modelfamily);
}

int run(int argc, char** argv)
{
    CLI::App app("State and health of a machine's drives", "vantorel");
    app.require_subcommand(1);
    app.set_version_flag("--version", versionText(), "Print the versions of the library and of the drive table");
    app.fallthrough();
    host::addMachineOption(app);
    int status = host::success;
    host::addDecode(app, status);
    host::addDatabase(app, status);
    host::addCompress(app, status);
    host::addList(app, status);
    host::addSmart(app, status);
    host::addErrors(app, status);
    host::addWatch(app, status);
    host::addStats(app, status);
    host::addMachineCheck(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return app.exit(request);
    } catch (const CLI::ParseError& error) {
        const auto unknown = app.remaining();
        host::complain("arguments", unknown.empty() ? error.what() : "what is \"" + unknown.front() + "\"? See --help");
        return host::usageError;
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    int status = host::usageError;
    try {
        status = run(argc, argv);
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "vantorel: %s\n", error.what());
    }
    if (std::fflush(stdout) != 0) {
        host::complain("standard output", std::generic_category().message(errno));
        return host::usageError;
    }
    return status;
}
