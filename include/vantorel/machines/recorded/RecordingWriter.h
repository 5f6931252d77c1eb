// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/machines/recorded/Recording.h"

#include <string>

namespace VANTOREL_PUBLIC vantorel {
namespace recorded {

/// The recording as a machine.json that needs no other file: read again it is the same recording but for its faults.
/// A UUID among properties becomes its text, and a number that JSON does not have, such as infinity, null.
[[nodiscard]] std::string writeMachineJson(const Recording& recording);

} // namespace recorded
} // namespace vantorel
