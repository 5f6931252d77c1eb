// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/Machine.h"

#include <memory>

namespace vantorel::system {

/// The machine that this layer asks; an empty one until another takes its place. Never null; shared so that a question
/// outlives a replacement. From any thread.
[[nodiscard]] std::shared_ptr<Machine> installedMachine();

/// Puts a machine in the place of the one before, which it gives back.
std::shared_ptr<Machine> exchangeMachine(std::shared_ptr<Machine> next);

} // namespace vantorel::system
