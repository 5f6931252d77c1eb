// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// A status of the I/O registry, of a plug-in and of a drive's channel: 0 is success, every other value a failure.
using IOReturn = std::int32_t;

namespace detail {
consteval IOReturn ioStatus(std::uint32_t code)
{
    return static_cast<IOReturn>(0xE0000000U | code);
}
} // namespace detail

// The platform's codes (IOReturn.h of its kernel framework).
inline constexpr IOReturn kIOReturnSuccess = 0;
inline constexpr IOReturn kIOReturnError = detail::ioStatus(0x2BC);           ///< general error
inline constexpr IOReturn kIOReturnNoMemory = detail::ioStatus(0x2BD);        ///< no memory for the call
inline constexpr IOReturn kIOReturnNoResources = detail::ioStatus(0x2BE);     ///< no handle or command left
inline constexpr IOReturn kIOReturnNoDevice = detail::ioStatus(0x2C0);        ///< no such device, or it is gone
inline constexpr IOReturn kIOReturnNotPrivileged = detail::ioStatus(0x2C1);   ///< not allowed for this user
inline constexpr IOReturn kIOReturnBadArgument = detail::ioStatus(0x2C2);     ///< invalid argument
inline constexpr IOReturn kIOReturnExclusiveAccess = detail::ioStatus(0x2C5); ///< somebody else holds the device
inline constexpr IOReturn kIOReturnUnsupported = detail::ioStatus(0x2C7);     ///< not supported, or command aborted
inline constexpr IOReturn kIOReturnIOError = detail::ioStatus(0x2CA);         ///< general input or output error
inline constexpr IOReturn kIOReturnNotOpen = detail::ioStatus(0x2CD);         ///< device not open
inline constexpr IOReturn kIOReturnNotReadable = detail::ioStatus(0x2CE);     ///< read not possible
inline constexpr IOReturn kIOReturnNotWritable = detail::ioStatus(0x2CF);     ///< write not possible
inline constexpr IOReturn kIOReturnBusy = detail::ioStatus(0x2D5);            ///< device busy
inline constexpr IOReturn kIOReturnTimeout = detail::ioStatus(0x2D6);         ///< no answer in time
inline constexpr IOReturn kIOReturnNotReady = detail::ioStatus(0x2D8);        ///< not ready
inline constexpr IOReturn kIOReturnNotPermitted = detail::ioStatus(0x2E2);    ///< not permitted
inline constexpr IOReturn kIOReturnUnderrun = detail::ioStatus(0x2E7);        ///< fewer bytes than asked for
inline constexpr IOReturn kIOReturnAborted = detail::ioStatus(0x2EB);         ///< operation aborted
inline constexpr IOReturn kIOReturnNotFound = detail::ioStatus(0x2F0);        ///< not found

/// The name of a code, such as "kIOReturnTimeout"; empty for a value that has none here.
[[nodiscard]] std::string_view nameOfIOReturn(IOReturn status);

/// The code of this name; absent for any other text.
[[nodiscard]] std::optional<IOReturn> ioReturnNamed(std::string_view name);

} // namespace system
} // namespace vantorel
