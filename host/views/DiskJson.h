// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/disks/Disk.h"

#include <nlohmann/json.hpp>

#include <string>

namespace vantorel::host {

using Json = nlohmann::ordered_json;

/// One disk as docs/json.md tells: every field that is present, and of a volume what the system says of it now.
[[nodiscard]] Json diskJson(const Disk& disk);

/// A document on one line, line end included. Bytes that are no UTF-8 come out as U+FFFD.
[[nodiscard]] std::string jsonLine(const Json& document);

} // namespace vantorel::host
