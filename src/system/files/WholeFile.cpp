// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/WholeFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace vantorel::system {

namespace {

[[noreturn]] void fail(int error)
{
    throw FileError(std::generic_category().message(error));
}

} // namespace

Data readWholeFile(const std::string& path, std::size_t limit)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    if (!file)
        fail(errno);
    // One byte more than is allowed tells a file that is too large, however it grows while it is read.
    Data bytes;
    std::size_t taken = 0;
    do {
        bytes.resize(std::min(limit + 1, std::max<std::size_t>(2 * taken, 8192)));
        taken += std::fread(bytes.data() + taken, 1, bytes.size() - taken, file.get());
    } while (taken == bytes.size() && taken <= limit);
    if (std::ferror(file.get()))
        fail(errno); // that of a folder comes here
    if (taken > limit)
        throw FileError("is larger than " + std::to_string(limit) + " bytes");
    bytes.resize(taken);
    return bytes;
}

} // namespace vantorel::system
