// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/files/Bundle.h"

#include "system/CallGate.h"
#include "system/InstalledMachine.h"

#include <filesystem>
#include <system_error>

namespace vantorel::system {

std::optional<std::string> KextManagerCreateURLForBundleIdentifier(CFAllocatorRef /*allocator*/,
                                                                   std::string_view identifier)
{
    if (!callPasses("KextManagerCreateURLForBundleIdentifier"))
        return std::nullopt;
    return installedMachine()->bundleLocation(identifier);
}

std::optional<Bundle> Bundle::bundleWithPath(const std::string& path)
{
    std::error_code error;
    if (!callPasses("bundleWithPath:") || !std::filesystem::is_directory(path, error))
        return std::nullopt;
    return Bundle(path, nullptr);
}

std::optional<Bundle> Bundle::bundleWithIdentifier(std::string_view identifier)
{
    if (!callPasses("bundleWithIdentifier:") || identifier != libraryBundleIdentifier)
        return std::nullopt;
    static const auto info = std::make_shared<const PropertyTable>(PropertyTable{
        {"CFBundleIdentifier", libraryBundleIdentifier},
        {std::string(CFBundleShortVersionString), VANTOREL_VERSION},
    });
    return Bundle(std::string(), info);
}

std::optional<std::string> Bundle::pathForImageResource(std::string_view name) const
{
    // The name comes from a registry entry and must not lead out of the bundle.
    if (path_.empty() || name.empty() || name.find('/') != std::string_view::npos)
        return std::nullopt;
    for (const char* const folder : {"Contents/Resources", "Resources", "."}) {
        for (const char* const extension : {".icns", ".png", ".tiff", ""}) {
            const auto file =
                (std::filesystem::path(path_) / folder / (std::string(name) + extension)).lexically_normal();
            std::error_code error;
            if (std::filesystem::is_regular_file(file, error))
                return file.string();
        }
    }
    return std::nullopt;
}

} // namespace vantorel::system
