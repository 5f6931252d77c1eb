// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "DeviceNode.h"
#include "vantorel/system/Machine.h"

#include <string>

namespace vantorel::channels {

/// In words, why opening a node ended with this status. `reason` says it better where it is not empty.
[[nodiscard]] system::DriveObstacle obstacleOf(const DeviceNode& node, system::IOReturn status, std::string reason);

} // namespace vantorel::channels
