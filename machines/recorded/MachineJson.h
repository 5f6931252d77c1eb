// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Recording.h"

#include <functional>
#include <optional>
#include <string>

namespace vantorel::recorded {

/// Reads a file that a machine.json names, by its name beside it. Throws `RecordingError`.
using FileReader = std::function<Data(const std::string& name)>;

/// The registry that a machine.json names under "listing" (a file) or holds under "registry".
/// Absent when it does neither. Throws `RecordingError` when there is no JSON in `bytes` or no listing in the file.
[[nodiscard]] std::optional<std::vector<system::RegistryEntry>>
readJsonRegistry(DataView bytes, const std::string& file, const FileReader& read, std::vector<Fault>& faults);

/// Fills in what else a machine.json tells, for the entries that `recording` has: volumes, drives and later events.
/// What cannot be used is passed over and told in the recording's faults. Throws `RecordingError` when there is no JSON
/// in `bytes`.
void readMachineJson(DataView bytes, const std::string& file, const FileReader& read, Recording& recording);

} // namespace vantorel::recorded
