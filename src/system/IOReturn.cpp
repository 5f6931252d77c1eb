// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/IOReturn.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantorel::system {

namespace {

constexpr std::array<std::pair<IOReturn, std::string_view>, 20> names{{
    {kIOReturnSuccess, "kIOReturnSuccess"},           {kIOReturnError, "kIOReturnError"},
    {kIOReturnNoMemory, "kIOReturnNoMemory"},         {kIOReturnNoResources, "kIOReturnNoResources"},
    {kIOReturnNoDevice, "kIOReturnNoDevice"},         {kIOReturnNotPrivileged, "kIOReturnNotPrivileged"},
    {kIOReturnBadArgument, "kIOReturnBadArgument"},   {kIOReturnExclusiveAccess, "kIOReturnExclusiveAccess"},
    {kIOReturnUnsupported, "kIOReturnUnsupported"},   {kIOReturnIOError, "kIOReturnIOError"},
    {kIOReturnNotOpen, "kIOReturnNotOpen"},           {kIOReturnNotReadable, "kIOReturnNotReadable"},
    {kIOReturnNotWritable, "kIOReturnNotWritable"},   {kIOReturnBusy, "kIOReturnBusy"},
    {kIOReturnTimeout, "kIOReturnTimeout"},           {kIOReturnNotReady, "kIOReturnNotReady"},
    {kIOReturnNotPermitted, "kIOReturnNotPermitted"}, {kIOReturnUnderrun, "kIOReturnUnderrun"},
    {kIOReturnAborted, "kIOReturnAborted"},           {kIOReturnNotFound, "kIOReturnNotFound"},
}};

} // namespace

std::string_view nameOfIOReturn(IOReturn status)
{
    const auto found = std::ranges::find(names, status, [](const auto& row) { return row.first; });
    return found == names.end() ? std::string_view() : found->second;
}

std::optional<IOReturn> ioReturnNamed(std::string_view name)
{
    const auto found = std::ranges::find(names, name, [](const auto& row) { return row.second; });
    return found == names.end() ? std::nullopt : std::optional(found->first);
}

} // namespace vantorel::system
