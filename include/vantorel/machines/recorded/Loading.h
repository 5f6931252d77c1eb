// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/machines/recorded/Recording.h"

#include <cstddef>
#include <string>

namespace VANTOREL_PUBLIC vantorel {
namespace recorded {

/// A registry listing, the largest file of a machine, is never so large.
inline constexpr std::size_t largestFile = 256U << 20U;

/// Reads a recorded machine: a folder, a registry listing in any of its forms, or a machine.json. The formats are told
/// in docs/recorded-machine.md. Throws `RecordingError`.
[[nodiscard]] Recording loadRecording(const std::string& path);

/// The same of a file whose bytes have been read already.
[[nodiscard]] Recording loadRecording(const std::string& path, DataView bytes);

} // namespace recorded
} // namespace vantorel
