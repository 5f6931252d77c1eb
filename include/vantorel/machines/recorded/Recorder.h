// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/machines/recorded/Recording.h"
#include "vantorel/system/Machine.h"

#include <memory>

namespace VANTOREL_PUBLIC vantorel {
namespace recorded {

/// Starts a machine that is not installed, notes every entry and volume of it and what its drives answer, and ends it.
/// A drive is asked for its identity, the data, the thresholds and the opinion of SMART, the logs of errors and of
/// self-tests that it declares, or the health and error logs of NVMe; SMART is switched on where it is off. A drive
/// that cannot be opened is recorded as such, as is each command that fails. What happens to the machine meanwhile may
/// be in the recording or not. Blocks, for as long as the drives take one after the other.
[[nodiscard]] Recording recordMachine(std::unique_ptr<system::Machine> machine);

} // namespace recorded
} // namespace vantorel
