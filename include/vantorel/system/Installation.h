// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/system/Machine.h"

#include <memory>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// Makes `newMachine` the computer that the library looks at, and takes up all it has to tell before returning, unless
/// a disk session is scheduled already. A host calls it once, before it first uses the library; until then the machine
/// is empty. A machine installed later takes the place of the one before, whose entries go away like any others.
/// From then on the tool that lists the registry is there too; see `registryToolPath`.
void install(std::unique_ptr<Machine> newMachine);

/// The installed machine, or an empty one. Never null; shared so that a question outlives a replacement.
[[nodiscard]] std::shared_ptr<Machine> machine();

} // namespace system
} // namespace vantorel
