// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/health/JudgedReading.h"

#include <string>

namespace vantorel::host {

/// A drive in full: its model, the verdict, identity and family with what the drive table warns of, then a line for
/// every value; those that the verdict names stand out.
[[nodiscard]] std::string resultText(const health::JudgedReading& judged);

} // namespace vantorel::host
