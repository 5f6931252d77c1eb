// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/Machine.h"

namespace vantorel::system {

std::optional<std::vector<std::string>> Machine::mountPoints()
{
    return std::vector<std::string>();
}

std::optional<FileSystemFacts> Machine::fileSystem(const std::string& /*path*/)
{
    return std::nullopt;
}

std::string Machine::temporaryDirectory()
{
    return "/tmp/";
}

std::optional<std::string> Machine::bundleLocation(std::string_view /*identifier*/)
{
    return std::nullopt;
}

std::optional<PropertyTable> Machine::currentProperties(std::uint64_t /*entry*/)
{
    return std::nullopt;
}

OpenedChannel<AtaChannel> Machine::openAta(std::uint64_t /*entry*/)
{
    return {};
}

OpenedChannel<NvmeChannel> Machine::openNvme(std::uint64_t /*entry*/)
{
    return {};
}

std::optional<DriveObstacle> Machine::whyNotOpened(std::uint64_t /*entry*/)
{
    return std::nullopt;
}

} // namespace vantorel::system
