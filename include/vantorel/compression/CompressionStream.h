// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vantorel::system {

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

/// Sets up a stream; the four fields of source and destination are left alone. `COMPRESSION_STATUS_ERROR` when an
/// argument is none of the values above or memory ran out; there is nothing to destroy then.
[[nodiscard]] compression_status compression_stream_init(compression_stream* stream,
                                                         compression_stream_operation operation,
                                                         compression_algorithm algorithm) noexcept;

/// Bytes behind a destination that a decoder in place may write.
inline constexpr std::size_t COMPRESSION_STREAM_AHEAD = 65536 + 64;

/// Declares of a stream just set up that the bytes on both sides of it stay, so that it need not keep copies of them:
///
/// - the sources of all calls follow one another in memory, and are neither moved nor changed before the last call;
/// - so do the destinations, unchanged as well, but between two calls all of them may move together;
/// - behind each destination of a decoder lie `COMPRESSION_STREAM_AHEAD` bytes more, which it may write, and which move
///   too.
///
/// What a stream puts out is the same either way. `COMPRESSION_STATUS_ERROR` when the stream is not set up or was
/// called already.
compression_status compression_stream_in_place(compression_stream* stream) noexcept;

/// How many bytes a stream set up for decoding, whose whole source is given, will put out going by the headers of its
/// blocks. 0 when its format does not tell or the headers do not lead to the end. No more than a claim: nothing behind
/// the headers was looked at.
[[nodiscard]] std::uint64_t compression_stream_claimed_size(const compression_stream* stream) noexcept;

/// Moves as much as it can from source to destination. `flags` is 0 or `COMPRESSION_STREAM_FINALIZE`. An encoder ends
/// only after it was told that the source given is the last; a decoder ends at the end of its stream, and bytes behind
/// that stay in the source. A decoder whose source stops before answers `COMPRESSION_STATUS_OK` and waits for more, or
/// `COMPRESSION_STATUS_ERROR` when it is told that there is none. After an end or an error every further call gives
/// the same.
[[nodiscard]] compression_status compression_stream_process(compression_stream* stream, int flags) noexcept;

/// Frees what `compression_stream_init` set up. `COMPRESSION_STATUS_ERROR` when there is nothing to free.
compression_status compression_stream_destroy(compression_stream* stream) noexcept;

} // namespace vantorel::system
