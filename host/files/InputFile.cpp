// SPDX-License-Identifier: GPL-2.0-or-later
#include "InputFile.h"

#include "host/console/Output.h"
#include "vantorel/system/WholeFile.h"

namespace vantorel::host {

Data readFile(const std::string& path, std::size_t limit)
{
    try {
        return system::readWholeFile(path, limit);
    } catch (const system::FileError& error) {
        throw CommandError(path, error.what());
    }
}

} // namespace vantorel::host
