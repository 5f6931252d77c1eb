// SPDX-License-Identifier: GPL-2.0-or-later
#include "Obstacles.h"

#include "DeviceFile.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace vantorel::channels {

namespace {

using namespace system;

bool isPlain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("/._+-").find(c) != std::string_view::npos;
}

/// A text as a shell takes it for one word.
std::string quoted(std::string_view text)
{
    if (!text.empty() && std::ranges::all_of(text, isPlain))
        return std::string(text);
    std::string word = "'";
    for (const char c : text)
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + '\'';
}

/// The command that gives this program the rights for every drive; empty when the program has no path.
std::string rightsCommand()
{
    std::array<char, 4096> path{};
    const auto length = ::readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0 || static_cast<std::size_t>(length) == path.size())
        return {};
    return "sudo setcap cap_dac_read_search,cap_sys_rawio,cap_sys_admin+ep " +
           quoted({path.data(), static_cast<std::size_t>(length)});
}

std::string missingRights(const DeviceNode& node)
{
    const bool isNvme = node.path.starts_with("/dev/nvme");
    std::string commands = isNvme ? "its commands take CAP_SYS_ADMIN." : "its commands take CAP_SYS_RAWIO.";
    if (openNode(node).status == kIOReturnNotPrivileged)
        return "There is no read access to " + node.path + ", and " + commands;
    commands.front() = 'I';
    return commands;
}

std::string reasonOf(const DeviceNode& node, IOReturn status)
{
    switch (status) {
    case kIOReturnNotPrivileged:
        return missingRights(node);
    case kIOReturnNotReady:
        return "The drive is asleep and was left so.";
    case kIOReturnNoDevice:
        return "The drive is gone.";
    case kIOReturnExclusiveAccess:
        return "Another program holds " + node.path + '.';
    case kIOReturnTimeout:
        return "The drive did not answer in time.";
    case kIOReturnBusy:
        return "The drive is busy.";
    case kIOReturnUnsupported:
        return "The drive does not say what it is.";
    case kIOReturnNotFound:
        return "Its USB bridge has two drives, and nothing says which of them this is.";
    default:
        return "The drive did not answer.";
    }
}

} // namespace

DriveObstacle obstacleOf(const DeviceNode& node, IOReturn status, std::string reason)
{
    return {.status = status,
            .reason = reason.empty() ? reasonOf(node, status) : std::move(reason),
            .remedy = status == kIOReturnNotPrivileged ? rightsCommand() : std::string()};
}

} // namespace vantorel::channels
