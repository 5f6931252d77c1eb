// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "EntryCollector.h"
#include "vantorel/machines/recorded/Recording.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vantorel::recorded {

/// Reads a registry listing: the property list that `ioreg -l -w0 -a` writes, XML or binary, or the text that
/// `ioreg -l -w0` prints, told by its first bytes. What cannot be understood is passed over and told in `faults` under
/// the name `file`. Throws `RecordingError` when there is no entry in it.
[[nodiscard]] std::vector<system::RegistryEntry> readListing(DataView bytes, const std::string& file,
                                                             std::vector<Fault>& faults);

/// Adds the entry that a table of the property list form describes, and everything under it, to `collector`.
/// `place` is where the table stands.
void collectEntries(PropertyTable table, std::uint64_t parent, const std::string& file, const std::string& place,
                    EntryCollector& collector, std::vector<Fault>& faults);

} // namespace vantorel::recorded
