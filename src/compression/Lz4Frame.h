// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Bytes.h"

#include <cstddef>
#include <cstdint>

/// The frame around LZ4 blocks: block after block, then the end magic. All numbers are little-endian.
namespace vantorel::system::compression::lz4 {

inline constexpr std::uint32_t compressedMagic = 0x31347662; // "bv41": CompressedHeader, then a raw LZ4 block
inline constexpr std::uint32_t storedMagic = 0x2d347662;     // "bv4-": StoredHeader, then the plain bytes
inline constexpr std::uint32_t endMagic = 0x24347662;        // "bv4$": the stream is over

/// How far a match reaches back, across blocks of both kinds.
inline constexpr std::size_t reach = 65536;

/// What the encoder puts into one block. A decoder takes blocks of any size.
inline constexpr std::size_t blockSize = 65536;

struct CompressedHeader {
    le32 magic;
    le32 plainSize;
    le32 encodedSize;
};
static_assert(sizeof(CompressedHeader) == 12);
static_assert(offsetof(CompressedHeader, plainSize) == 4);
static_assert(offsetof(CompressedHeader, encodedSize) == 8);

struct StoredHeader {
    le32 magic;
    le32 size;
};
static_assert(sizeof(StoredHeader) == 8);
static_assert(offsetof(StoredHeader, size) == 4);

} // namespace vantorel::system::compression::lz4
