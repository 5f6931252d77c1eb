// SPDX-License-Identifier: GPL-2.0-or-later
#include "Codec.h"
#include "StreamBuffers.h"

#include <zlib.h>

#include <limits>
#include <new>

namespace vantorel::system::compression {

namespace {

constexpr int level = 5;
constexpr int rawWindowBits = -15; // negative: no zlib header, no checksum
constexpr int memoryLevel = 8;

using Step = int (*)(z_stream*, int flush);

/// Lets zlib work between the two ends of `stream`, in pieces that its counters can hold.
compression_status processWith(Step step, z_stream& z, compression_stream& stream, bool finalize)
{
    constexpr std::size_t most = std::numeric_limits<uInt>::max();
    while (stream.dst_size > 0) {
        const auto in = static_cast<uInt>(std::min(stream.src_size, most));
        const auto out = static_cast<uInt>(std::min(stream.dst_size, most));
        z.next_in = const_cast<Bytef*>(stream.src_ptr); // zlib does not write there
        z.avail_in = in;
        z.next_out = stream.dst_ptr;
        z.avail_out = out;
        const int result = step(&z, finalize && in == stream.src_size ? Z_FINISH : Z_NO_FLUSH);
        stream.src_ptr += in - z.avail_in;
        stream.src_size -= in - z.avail_in;
        stream.dst_ptr += out - z.avail_out;
        stream.dst_size -= out - z.avail_out;
        if (result == Z_STREAM_END)
            return COMPRESSION_STATUS_END;
        if (result == Z_BUF_ERROR) // nothing could be moved
            return COMPRESSION_STATUS_OK;
        if (result != Z_OK)
            return COMPRESSION_STATUS_ERROR;
    }
    return COMPRESSION_STATUS_OK;
}

class DeflateEncoder final : public Codec {
public:
    DeflateEncoder()
    {
        if (deflateInit2(&z_, level, Z_DEFLATED, rawWindowBits, memoryLevel, Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::bad_alloc();
    }
    ~DeflateEncoder() override { deflateEnd(&z_); }

private:
    compression_status process(compression_stream& stream, bool finalize) override
    {
        return processWith(deflate, z_, stream, finalize);
    }

    z_stream z_{};
};

/// Expands into a buffer of its own: zlib works at half its speed on the last few hundred bytes of a destination, and
/// saves its window at the end of every call.
class DeflateDecoder final : public Codec {
public:
    DeflateDecoder()
    {
        if (inflateInit2(&z_, rawWindowBits) != Z_OK)
            throw std::bad_alloc();
    }
    ~DeflateDecoder() override { inflateEnd(&z_); }

private:
    compression_status process(compression_stream& stream, bool) override
    {
        for (;;) {
            if (!expanded_.drain(stream))
                return COMPRESSION_STATUS_OK;
            if (ended_)
                return COMPRESSION_STATUS_END;
            compression_stream inner;
            inner.src_ptr = stream.src_ptr;
            inner.src_size = stream.src_size;
            inner.dst_ptr = expanded_.next();
            inner.dst_size = expanded_.room();
            const compression_status status = processWith(inflate, z_, inner, false);
            stream.src_ptr = inner.src_ptr;
            stream.src_size = inner.src_size;
            expanded_.grow(expanded_.room() - inner.dst_size);
            if (status == COMPRESSION_STATUS_ERROR || (status == COMPRESSION_STATUS_OK && expanded_.empty()))
                return status;
            ended_ = status == COMPRESSION_STATUS_END;
        }
    }

    z_stream z_{};
    Outgoing expanded_{65536};
    bool ended_ = false;
};

} // namespace

std::unique_ptr<Codec> makeDeflateEncoder()
{
    return std::make_unique<DeflateEncoder>();
}

std::unique_ptr<Codec> makeDeflateDecoder()
{
    return std::make_unique<DeflateDecoder>();
}

} // namespace vantorel::system::compression
