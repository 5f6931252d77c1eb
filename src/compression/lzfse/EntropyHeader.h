// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Fse.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vantorel::system::compression::lzfse {

/// The size that a packed header with its frequencies claims; absent when no header can have it.
[[nodiscard]] std::optional<std::size_t> packedSize(const PackedHeader& header);

/// The size of both payloads that a packed header claims.
[[nodiscard]] std::uint32_t payloadSize(const PackedHeader& header);

/// A packed header and its frequencies, `packedSize` bytes in all, in the unpacked form. Absent when the frequencies do
/// not end with the header.
[[nodiscard]] std::optional<EntropyHeader> unpack(DataView packed);

/// Whether counts, sizes, states and bit counts are such as a block can have.
[[nodiscard]] bool isPlausible(const EntropyHeader& header);

/// Writes frequencies in packed form and says how many bytes they took, at most
/// `maxPackedHeaderSize - sizeof(PackedHeader)`. Up to 8 bytes behind them may be overwritten.
std::size_t packFrequencies(Frequencies frequencies, std::uint8_t* to);

/// The fixed part of a packed header whose frequencies take `frequencySize` bytes.
[[nodiscard]] PackedHeader pack(const EntropyHeader& header, std::size_t frequencySize);

} // namespace vantorel::system::compression::lzfse
