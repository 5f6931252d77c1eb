// SPDX-License-Identifier: GPL-2.0-or-later
#include "Output.h"

#include "Text.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace vantorel::host {

namespace {

/// Standard error is not buffered, so a text goes out in one piece. Whether it arrives is nobody's concern.
void writeToStandardError(std::string_view text)
{
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
}

} // namespace

std::string reason(int error)
{
    return std::generic_category().message(error);
}

CommandError::CommandError(std::string_view what, std::string_view why)
    : std::runtime_error(fmt::format("{}: {}", what, why))
{}

void holdStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The lowest free number is given, which is this one. Open the wrong way round, the first two fail as they did.
        if (fcntl(stream, F_GETFD) == -1)
            static_cast<void>(open("/dev/null", stream == STDOUT_FILENO ? O_RDONLY : O_WRONLY));
    }
}

void complain(std::string_view what, std::string_view why)
{
    tell(fmt::format("vantorel: {}: {}", what, why));
}

void tell(std::string_view line)
{
    writeToStandardError(printable(line) + '\n');
}

void print(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        throw CommandError("standard output", reason(errno));
}

void flush()
{
    if (std::fflush(stdout) != 0)
        throw CommandError("standard output", reason(errno));
}

ProgressLine::ProgressLine() : isTerminal_(isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine()
{
    if (isShown_)
        writeToStandardError("\r\x1B[K");
}

void ProgressLine::show(std::string_view text)
{
    if (!isTerminal_)
        return;
    isShown_ = true;
    writeToStandardError("\r\x1B[K" + printable(text));
}

} // namespace vantorel::host
