// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/system/IOReturn.h"

#include <cstdint>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// A handle of the I/O registry: an entry or an iterator. Each operation that gives one gives a new one with a count of
/// 1, to be given back with `IOObjectRelease`. A handle stays good until then, even when its entry leaves the registry.
/// 0 is none.
using io_object_t = std::uint32_t;
using io_registry_entry_t = io_object_t;
using io_service_t = io_object_t;
using io_iterator_t = io_object_t;
using kern_return_t = IOReturn;

inline constexpr io_object_t IO_OBJECT_NULL = 0;
inline constexpr kern_return_t KERN_SUCCESS = 0;

} // namespace system
} // namespace vantorel
