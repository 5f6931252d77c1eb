// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vantorel::recorded {

/// A text of the same length in the place of another: digits for its digits, letters for its letters, everything else
/// unchanged. `secret` is in small letters, and equal secrets get equal pseudonyms.
[[nodiscard]] std::string textPseudonym(std::string_view secret);

/// The same for hexadecimal digits, the first `kept` of which stay.
[[nodiscard]] std::string digitsPseudonym(std::string_view digits, std::size_t kept);

} // namespace vantorel::recorded
