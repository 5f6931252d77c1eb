// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

/// Numbers as a person of the process's locale reads them. The locale is the first of the environment variables
/// `LC_ALL`, `LC_NUMERIC` and `LANG` that is set and not empty; `C`, `POSIX` and none at all mean `en_US`, and so does
/// a name that cannot be a locale's, in `LC_MESSAGES` too, which ICU looks at. It is read once, at the first use.
/// Digits, separators and grouping of other locales come from ICU, which is loaded at that first use and never before;
/// on a machine without it numbers are written the English way.
namespace vantorel::system {

/// From now on numbers are written the English way, whatever the locale: for a host whose texts are read by programs.
/// Any thread.
void writeNumbersInEnglish();

enum class NumberFormatterStyle : int { decimal = 1 };

/// The number with the locale's digits and grouping: `1,234,567`. Any thread; never fails.
[[nodiscard]] std::string localizedStringFromNumber(std::uint64_t number, NumberFormatterStyle numberStyle);

} // namespace vantorel::system
