// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"

#include <optional>
#include <string>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {
namespace base {

/// Standard Base64 (RFC 4648, section 4) with padding and without line breaks.
[[nodiscard]] std::string base64(DataView bytes);

/// Reads what `base64` writes. Absent for any other text: wrong length, a character outside the alphabet (white space
/// included), padding anywhere but at the end, bits set behind the last byte.
[[nodiscard]] std::optional<Data> fromBase64(std::string_view text);

} // namespace base
} // namespace vantorel
