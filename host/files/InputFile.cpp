// SPDX-License-Identifier: GPL-2.0-or-later
#include "InputFile.h"

#include "host/console/Output.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

#include <sys/stat.h>

namespace vantorel::host {

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

    // One byte more than is allowed tells a file that is too large, however it grows while it is read.
    Data bytes;
    std::size_t taken = 0;
    do {
        bytes.resize(std::min(limit + 1, std::max<std::size_t>(2 * taken, 8192)));
        taken += std::fread(bytes.data() + taken, 1, bytes.size() - taken, file.get());
    } while (taken == bytes.size() && taken <= limit);
    if (std::ferror(file.get()))
        throw CommandError(path, reason(errno));
    if (taken > limit)
        throw CommandError(path, fmt::format("is larger than {} bytes", limit));
    bytes.resize(taken);
    return bytes;
}

} // namespace vantorel::host
