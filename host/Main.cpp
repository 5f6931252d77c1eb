// SPDX-License-Identifier: GPL-2.0-or-later
#include "Command.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <system_error>

using namespace vantorel;

namespace {

int run(int argc, char** argv)
{
    CLI::App app("State and health of a machine's drives", "vantorel");
    app.require_subcommand(1);
    int status = host::success;
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return app.exit(request);
    } catch (const CLI::ParseError& error) {
        host::complain("arguments", error.what());
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
