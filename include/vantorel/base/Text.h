// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {
namespace base {

/// The text without blanks and tabs at both ends; a view into the argument.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// The parts of a text between white space of any kind (Unicode, property White_Space), none of them empty; views into
/// the argument.
[[nodiscard]] std::vector<std::string_view> words(std::string_view text);

/// The character, a letter A to Z made small.
[[nodiscard]] constexpr char lowercased(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The text with the letters A to Z made small; all other bytes stay.
[[nodiscard]] std::string lowercased(std::string_view text);

/// Whether `needle`, given in small letters, occurs in `text` when the letters A to Z of `text` are read as small.
[[nodiscard]] bool containsIgnoringCase(std::string_view text, std::string_view needle);

/// `text` with every occurrence of `from`, read from left to right, replaced by `to`. `from` is not empty.
[[nodiscard]] std::string replacingAll(std::string_view text, std::string_view from, std::string_view to);

/// Whether the bytes are well-formed UTF-8 (no overlong forms, no surrogates, nothing above U+10FFFF).
[[nodiscard]] bool isUtf8(std::string_view bytes);

/// The bytes as UTF-8 text: well-formed bytes unchanged, every byte that belongs to no well-formed sequence as U+FFFD.
[[nodiscard]] std::string toUtf8(std::string_view bytes);

/// The number that a text is as a whole, in decimal digits with a point and an exponent where it has them, or "inf" or
/// "nan"; no blank, no "+" before it and no locale's spelling. Absent for any other text and beyond a double's range.
[[nodiscard]] std::optional<double> realFrom(std::string_view text);

/// The shortest decimal form that reads back as the same double, with a fraction wherever it has no exponent:
/// `25.0`, `8.25`. Below 2^53 in magnitude there is never an exponent; from there on the shorter of the plain and
/// the scientific form is taken, such as `3.022314549036562e+23`.
[[nodiscard]] std::string shortestDecimal(double value);

} // namespace base
} // namespace vantorel
