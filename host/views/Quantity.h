// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace vantorel::host {

/// A number of bytes for a reader, the same in every locale: `0 bytes`, `209.7 MB`, `80.03 GB`; by thousands, with no
/// more digits than tell something at that size.
[[nodiscard]] std::string sizeText(std::uint64_t bytes);

} // namespace vantorel::host
