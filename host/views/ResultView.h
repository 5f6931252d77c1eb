// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/smart/records/SmartObject.h"

#include <string>

namespace vantorel::host {

/// A result on one screen: identity, the drive table's warning, health, status, assessment, temperature, then a line
/// for every value; those that fail stand out.
[[nodiscard]] std::string resultText(const SmartObject& result);

/// The bits of the exit status (`Status`) that a result asks for.
[[nodiscard]] int statusOf(const SmartObject& result);

} // namespace vantorel::host
