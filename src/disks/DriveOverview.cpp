// SPDX-License-Identifier: GPL-2.0-or-later
// What a drive knows only through the registry: here the two meet, so that neither needs the other to load itself.
#include "FileSystem.h"
#include "system/files/FileManager.h"
#include "vantorel/disks/Vantorel.h"

#include <algorithm>

namespace vantorel {

std::string Drive::summary() const
{
    std::string text = mediaName().value_or("Unknown drive") + "\n|\n  --";
    for (const auto& volume : Vantorel::shared().getVolumes(*this)) {
        text += "\n   |\n    - ";
        text += volume->mediaName().value_or("");
        text += " (";
        text += rawValue(volume->diskType());
        text += ", ";
        text += rawValue(volume->volumeKind());
        text += ")";
    }
    return text + "\n";
}

bool Drive::isBootDrive() const
{
    const auto volumes = Vantorel::shared().getVolumes(*this);
    return std::any_of(volumes.begin(), volumes.end(), [](const auto& volume) { return volume->isBootVolume(); });
}

std::optional<std::string> Drive::getWritablePath(double size) const
{
    for (const auto& volume : Vantorel::shared().getVolumes(*this)) {
        auto candidate = volume->isBootVolume() ? system::NSTemporaryDirectory() : volume->mountPoint();
        if (candidate && vantorel::isWritable(*candidate, size))
            return candidate;
    }
    return std::nullopt;
}

bool isWritable(const std::string& path, double size)
{
    const bool writable = system::FileManager::defaultManager().isWritableFileAtPath(path);
    const auto freeSpace = freeSpaceAt(path);
    return writable && freeSpace && *freeSpace > size;
}

} // namespace vantorel
