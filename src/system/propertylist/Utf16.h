// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <string>
#include <string_view>

namespace vantorel::system {

/// UTF-8 from UTF-16 with the higher byte of each unit first. A lone surrogate becomes U+FFFD, a last odd byte falls
/// away.
[[nodiscard]] std::string utf8FromUtf16(DataView bigEndianUnits);

/// The other way; `text` is well-formed UTF-8.
[[nodiscard]] Data utf16FromUtf8(std::string_view text);

} // namespace vantorel::system
