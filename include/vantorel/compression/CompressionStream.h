// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/compression/StreamTypes.h"

#include <cstdint>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// Sets up a stream; the four fields of source and destination are left alone. `COMPRESSION_STATUS_ERROR` when an
/// argument is none of the values above or memory ran out; there is nothing to destroy then.
[[nodiscard]] compression_status compression_stream_init(compression_stream* stream,
                                                         compression_stream_operation operation,
                                                         compression_algorithm algorithm) noexcept;

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

} // namespace system
} // namespace vantorel
