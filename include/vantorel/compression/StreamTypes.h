// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

namespace compression {
class Codec;
}

/// What a call on a stream came to.
enum compression_status : int {
    COMPRESSION_STATUS_OK = 0,     ///< the destination is full, or the source is used up
    COMPRESSION_STATUS_END = 1,    ///< the stream is complete and all of it has been handed out
    COMPRESSION_STATUS_ERROR = -1, ///< wrong arguments, damaged input, or memory ran out
};

enum compression_stream_operation : int {
    COMPRESSION_STREAM_ENCODE = 0,
    COMPRESSION_STREAM_DECODE = 1,
};

enum compression_stream_flags : int {
    COMPRESSION_STREAM_FINALIZE = 1, ///< the source given now is the last of it
};

/// The four stream formats. A stream does not name its algorithm: who expands it has to know.
enum compression_algorithm : int {
    COMPRESSION_LZ4 = 0x100,   ///< LZ4 blocks in a frame of block headers, matches reaching across them
    COMPRESSION_ZLIB = 0x205,  ///< raw deflate (RFC 1951), no zlib header, no checksum; encoded at level 5
    COMPRESSION_LZMA = 0x306,  ///< one .xz stream; encoded at level 6 with CRC64, expanded up to the memory of level 9
    COMPRESSION_LZFSE = 0x801, ///< the format of docs/formats/lzfse.md
};

/// Bytes behind a destination that a decoder in place may write.
inline constexpr std::size_t COMPRESSION_STREAM_AHEAD = 65536 + 64;

/// The record of one stream, made by the caller and used by one thread at a time. The bytes behind `dst_ptr` and
/// `src_ptr` belong to the caller, who sets the four fields before a call of `compression_stream_process` and sees in
/// them afterwards how far it got.
struct compression_stream {
    compression_stream();
    ~compression_stream();
    compression_stream(const compression_stream&) = delete;
    compression_stream& operator=(const compression_stream&) = delete;

    std::uint8_t* dst_ptr = nullptr;       ///< where the next byte goes
    std::size_t dst_size = 0;              ///< bytes free there
    const std::uint8_t* src_ptr = nullptr; ///< the next byte to read
    std::size_t src_size = 0;              ///< bytes left there
    std::unique_ptr<compression::Codec> state;
};

} // namespace system
} // namespace vantorel
