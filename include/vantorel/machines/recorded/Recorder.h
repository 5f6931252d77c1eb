// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/machines/recorded/Recording.h"
#include "vantorel/system/Machine.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace VANTOREL_PUBLIC vantorel {
namespace recorded {

/// Calls `work` with each number below `count`, in any order and on any threads, and returns when all calls have.
using ForEach = std::function<void(std::size_t count, const std::function<void(std::size_t)>& work)>;

/// Starts a machine that is not installed, notes every entry and volume of it and what its drives answer, and ends it.
/// A drive is asked for its identity, the data, the thresholds and the opinion of SMART, the logs of errors and of
/// self-tests that it declares, or the health and error logs of NVMe; SMART is switched on where it is off. A drive
/// that cannot be opened is recorded as such, as is each command that fails. What happens to the machine meanwhile may
/// be in the recording or not. Blocks until all drives have answered; `forEach` says how they take turns.
[[nodiscard]] Recording recordMachine(std::unique_ptr<system::Machine> machine, const ForEach& forEach);

} // namespace recorded
} // namespace vantorel
