// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/system/CoreFoundation.h"

#include <cstdint>
#include <string_view>

namespace vantorel::system {

inline constexpr std::string_view kStatisticsKey = "Statistics";

/// The properties that an entry was told with, but for "Statistics", which the machine is asked for anew.
/// Not to be called with the registry's lock held.
[[nodiscard]] PropertyTableRef withCurrentStatistics(PropertyTableRef told, std::uint64_t entry);

} // namespace vantorel::system
