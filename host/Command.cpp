// SPDX-License-Identifier: GPL-2.0-or-later
#include "Command.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include <sys/stat.h>

namespace vantorel::host {

namespace {

std::string reason(int error)
{
    return std::generic_category().message(error);
}

} // namespace

CommandError::CommandError(std::string_view what, std::string_view why)
    : std::runtime_error(fmt::format("{}: {}", what, why))
{}

void complain(std::string_view what, std::string_view why)
{
    fmt::print(stderr, "vantorel: {}: {}\n", what, why);
}

void print(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        throw CommandError("standard output", reason(errno));
}

Data readFile(const std::string& path, std::size_t limit)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    if (!file)
        throw CommandError(path, reason(errno));
    struct stat facts {};
    if (fstat(fileno(file.get()), &facts) != 0)
        throw CommandError(path, reason(errno));
    if (S_ISDIR(facts.st_mode))
        throw CommandError(path, reason(EISDIR));

    Data bytes(limit);
    bytes.resize(std::fread(bytes.data(), 1, limit, file.get()));
    if (std::ferror(file.get()))
        throw CommandError(path, reason(errno));
    return bytes;
}

} // namespace vantorel::host
