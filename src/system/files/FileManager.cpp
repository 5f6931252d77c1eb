// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/files/FileManager.h"

#include "system/CallGate.h"
#include "system/InstalledMachine.h"

namespace vantorel::system {

FileManager& FileManager::defaultManager()
{
    static FileManager manager;
    return manager;
}

std::optional<std::vector<std::string>>
FileManager::mountedVolumeURLsIncludingResourceValuesForKeys(std::nullptr_t /*keys*/, std::uint32_t /*options*/) const
{
    if (!callPasses("mountedVolumeURLsIncludingResourceValuesForKeys:options:"))
        return std::nullopt;
    return installedMachine()->mountPoints();
}

PropertyTableRef FileManager::attributesOfFileSystemForPath(const std::string& path) const
{
    if (!callPasses("attributesOfFileSystemForPath:error:"))
        return nullptr;
    const std::optional<FileSystemFacts> facts = installedMachine()->fileSystem(path);
    if (!facts)
        return nullptr;
    return std::make_shared<PropertyTable>(PropertyTable{
        {std::string(NSFileSystemSize), facts->size},
        {std::string(NSFileSystemFreeSize), facts->free},
    });
}

bool FileManager::isWritableFileAtPath(const std::string& path) const
{
    if (!callPasses("isWritableFileAtPath:"))
        return false;
    const std::optional<FileSystemFacts> facts = installedMachine()->fileSystem(path);
    return facts && facts->writable;
}

std::string NSTemporaryDirectory()
{
    return installedMachine()->temporaryDirectory();
}

} // namespace vantorel::system
