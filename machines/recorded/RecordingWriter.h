// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Recording.h"

#include <string>

namespace vantorel::recorded {

/// The recording as a machine.json that needs no other file: read again it is the same recording but for its faults.
/// A UUID among properties becomes its text, and a number that JSON does not have, such as infinity, null.
[[nodiscard]] std::string writeMachineJson(const Recording& recording);

} // namespace vantorel::recorded
