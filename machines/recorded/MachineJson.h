// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/machines/recorded/Recording.h"

#include <functional>
#include <string>
#include <vector>

namespace vantorel::recorded {

/// Reads a file that a machine.json names, by its name beside it. Throws `RecordingError`.
using FileReader = std::function<Data(const std::string& name)>;

/// Gives the entries of a machine whose machine.json neither holds a registry nor names a listing. Throws
/// `RecordingError`.
using ListingFinder = std::function<std::vector<system::RegistryEntry>(std::vector<Fault>& faults)>;

/// The machine that a machine.json tells of. What cannot be used is passed over and told in the recording's faults.
/// Throws `RecordingError` when there is no JSON in `bytes` or no listing in the file that it names.
[[nodiscard]] Recording readMachineJson(DataView bytes, const std::string& file, const FileReader& read,
                                        const ListingFinder& findListing);

} // namespace vantorel::recorded
