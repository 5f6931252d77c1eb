// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "support/TemporaryFolder.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace vantorel::test {

struct CommandResult {
    int status = 0; ///< exit status, or 128 and the signal that ended the command
    std::string out;
    std::string err;
};

/// Runs the command with these arguments, written as for a shell. `redirection` may send its output elsewhere.
inline CommandResult runCommand(const std::string& arguments, const std::string& redirection = "")
{
    const TemporaryFolder folder;
    const std::string out = folder.file("stdout");
    const std::string err = folder.file("stderr");
    const std::string line = std::string("'") + VANTOREL_COMMAND + "' " + arguments + " </dev/null >'" + out + "' 2>'" +
                             err + "' " + redirection;
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contentsOf(out), contentsOf(err)};
}

} // namespace vantorel::test
