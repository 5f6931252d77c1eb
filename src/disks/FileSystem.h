// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <optional>
#include <string>

namespace vantorel {

/// The free bytes of the file system that a path lies on, 0 when it does not tell; absent when it cannot be asked.
[[nodiscard]] std::optional<double> freeSpaceAt(const std::string& path);

} // namespace vantorel
