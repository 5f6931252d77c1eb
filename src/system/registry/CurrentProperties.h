// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/CoreFoundation.h"

#include <cstdint>

namespace vantorel::system {

/// The properties of an entry as they stand now: those that were told, and over them those that the machine is to be
/// asked for. Not to be called under the registry's lock, as the machine may take its time.
[[nodiscard]] PropertyTableRef currentProperties(std::uint64_t entry, const PropertyTableRef& told);

} // namespace vantorel::system
