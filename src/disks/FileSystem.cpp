// SPDX-License-Identifier: GPL-2.0-or-later
#include "FileSystem.h"

#include "system/files/FileManager.h"

namespace vantorel {

std::optional<double> freeSpaceAt(const std::string& path)
{
    const auto attributes = system::FileManager::defaultManager().attributesOfFileSystemForPath(path);
    if (!attributes)
        return std::nullopt;
    return attributes->get<double>(system::NSFileSystemFreeSize).value_or(0);
}

} // namespace vantorel
