// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/compression/CompressionStream.h"

#include "Codec.h"

#include <new>

namespace vantorel::system {

namespace compression {

compression_status Codec::run(compression_stream& stream, bool finalize) noexcept
{
    if (status_ != COMPRESSION_STATUS_OK)
        return status_;
    started_ = true;
    status_ = COMPRESSION_STATUS_ERROR; // what remains if memory runs out
    try {
        status_ = process(stream, finalize);
        // Free destination, no source and none to come: the stream stops before its end.
        if (status_ == COMPRESSION_STATUS_OK && finalize && stream.src_size == 0 && stream.dst_size > 0)
            status_ = COMPRESSION_STATUS_ERROR;
    } catch (const std::bad_alloc&) {
    }
    return status_;
}

namespace {

/// Absent for values that are none of the enumerations'.
std::unique_ptr<Codec> makeCodec(compression_stream_operation operation, compression_algorithm algorithm)
{
    if (operation != COMPRESSION_STREAM_ENCODE && operation != COMPRESSION_STREAM_DECODE)
        return nullptr;
    const bool encode = operation == COMPRESSION_STREAM_ENCODE;
    switch (algorithm) {
    case COMPRESSION_LZ4:
        return encode ? makeLz4Encoder() : makeLz4Decoder();
    case COMPRESSION_ZLIB:
        return encode ? makeDeflateEncoder() : makeDeflateDecoder();
    case COMPRESSION_LZMA:
        return encode ? makeXzEncoder() : makeXzDecoder();
    case COMPRESSION_LZFSE:
        return encode ? makeLzfseEncoder() : makeLzfseDecoder();
    }
    return nullptr;
}

} // namespace

} // namespace compression

compression_stream::compression_stream() = default;
compression_stream::~compression_stream() = default;

compression_status compression_stream_init(compression_stream* stream, compression_stream_operation operation,
                                           compression_algorithm algorithm) noexcept
try {
    if (!stream)
        return COMPRESSION_STATUS_ERROR;
    stream->state = compression::makeCodec(operation, algorithm);
    return stream->state ? COMPRESSION_STATUS_OK : COMPRESSION_STATUS_ERROR;
} catch (const std::bad_alloc&) {
    return COMPRESSION_STATUS_ERROR;
}

compression_status compression_stream_in_place(compression_stream* stream) noexcept
{
    if (!stream || !stream->state)
        return COMPRESSION_STATUS_ERROR;
    return stream->state->workInPlace() ? COMPRESSION_STATUS_OK : COMPRESSION_STATUS_ERROR;
}

std::uint64_t compression_stream_claimed_size(const compression_stream* stream) noexcept
{
    return stream && stream->state ? stream->state->claimedSize({stream->src_ptr, stream->src_size}) : 0;
}

compression_status compression_stream_process(compression_stream* stream, int flags) noexcept
{
    if (!stream || !stream->state || (flags & ~COMPRESSION_STREAM_FINALIZE) != 0)
        return COMPRESSION_STATUS_ERROR;
    return stream->state->run(*stream, flags == COMPRESSION_STREAM_FINALIZE);
}

compression_status compression_stream_destroy(compression_stream* stream) noexcept
{
    if (!stream || !stream->state)
        return COMPRESSION_STATUS_ERROR;
    stream->state.reset();
    return COMPRESSION_STATUS_OK;
}

} // namespace vantorel::system
