// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <cstddef>
#include <string>

namespace vantorel::host {

/// The whole file. Throws `CommandError` when it is missing, a folder, larger than `limit` bytes or cannot be read.
[[nodiscard]] Data readFile(const std::string& path, std::size_t limit);

} // namespace vantorel::host
