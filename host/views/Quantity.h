// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace vantorel::host {

/// A number of bytes for a reader, the same in every locale: `0 bytes`, `209.7 MB`, `80.03 GB`; by thousands, with no
/// more digits than tell something at that size.
[[nodiscard]] std::string sizeText(std::uint64_t bytes);

/// A number that is whole by its meaning and came as a double: the next whole number towards 0, at the ends of the
/// range where it lies outside it, and 0 for what is no number.
[[nodiscard]] std::uint64_t wholeNumber(double number);

} // namespace vantorel::host
