// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/machines/recorded/Recording.h"

#include <string>
#include <vector>

namespace vantorel::recorded {

/// Reads the text that `ioreg -l -w0` prints. What cannot be understood is passed over and told in `faults` under the
/// name `file`.
[[nodiscard]] std::vector<system::RegistryEntry> readTextListing(DataView bytes, const std::string& file,
                                                                 std::vector<Fault>& faults);

} // namespace vantorel::recorded
