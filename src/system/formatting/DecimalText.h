// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace vantorel::system {

/// The most digits that `decimalText` writes behind the decimal separator.
inline constexpr int mostFractionDigits = 2;

/// The number in the process's locale, rounded to at most `fractionDigits` (0 to `mostFractionDigits`) digits behind
/// the separator, half to even, without trailing zeros.
[[nodiscard]] std::string decimalText(double number, int fractionDigits);

/// The whole number in the process's locale.
[[nodiscard]] std::string decimalText(std::uint64_t number);

} // namespace vantorel::system
