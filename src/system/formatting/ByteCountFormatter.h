// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace vantorel::system {

/// What a byte count is of, and so by what its units step: `file` and `decimal` by 1000, `memory` and `binary` by 1024.
enum class ByteCountFormatterCountStyle : int { file = 0, memory = 1, decimal = 2, binary = 3 };

/// A byte count for people: `Zero KB`, `1 byte`, `999 bytes`, `64 KB`, `11.8 MB`, `500.28 GB`.
///
/// The units are named byte, KB, MB, GB, TB, PB and EB in either stepping and in every language. Bytes and KB have no
/// fraction, MB at most one digit, GB and above at most two; trailing zeros are left off. A number that rounding would
/// carry to the next unit is told in that unit. Separators and digits are the locale's (`NumberFormatter.h`); a tie is
/// rounded to the even digit. Any thread; never fails.
[[nodiscard]] std::string stringFromByteCount(std::int64_t byteCount, ByteCountFormatterCountStyle countStyle);

} // namespace vantorel::system
