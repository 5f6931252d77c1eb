// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Commands.h"
#include "EntryList.h"
#include "SystemScan.h"

#include <functional>
#include <vector>

namespace vantorel::machines {

/// Tells which commands a whole disk can be sent.
using CommandsOf = std::function<Commands(const BlockDevice& disk)>;

/// The registry in the platform's shape that this look at the system makes; see docs/linux.md. It depends on nothing
/// but its arguments.
[[nodiscard]] std::vector<KeyedEntry> registryEntries(const SystemScan& scan, const CommandsOf& commandsOf);

} // namespace vantorel::machines
