// SPDX-License-Identifier: GPL-2.0-or-later
#include "Codec.h"

#include <lzma.h>

#include <cstdint>
#include <new>

namespace vantorel::system::compression {

namespace {

constexpr std::uint32_t level = 6;

/// What the decoder of the largest level, 9, needs: its dictionary of 64 MiB and some tables. A stream that asks for
/// more is refused, since liblzma sets the whole dictionary aside before it has seen a byte of content.
constexpr std::uint64_t decoderMemory = 66ULL << 20;

/// Both directions, which differ only in how the stream is set up.
class XzCodec : public Codec {
public:
    ~XzCodec() override { lzma_end(&lzma_); }

protected:
    static void require(lzma_ret result)
    {
        if (result != LZMA_OK)
            throw std::bad_alloc();
    }

    compression_status code(compression_stream& stream, bool finish)
    {
        lzma_.next_in = stream.src_ptr;
        lzma_.avail_in = stream.src_size;
        lzma_.next_out = stream.dst_ptr;
        lzma_.avail_out = stream.dst_size;
        const lzma_ret result = lzma_code(&lzma_, finish ? LZMA_FINISH : LZMA_RUN);
        stream.src_ptr = lzma_.next_in;
        stream.src_size = lzma_.avail_in;
        stream.dst_ptr = lzma_.next_out;
        stream.dst_size = lzma_.avail_out;
        switch (result) {
        case LZMA_STREAM_END:
            return COMPRESSION_STATUS_END;
        case LZMA_OK:
        case LZMA_BUF_ERROR: // nothing could be moved
            return COMPRESSION_STATUS_OK;
        default:
            return COMPRESSION_STATUS_ERROR;
        }
    }

    lzma_stream lzma_ = LZMA_STREAM_INIT;
};

class XzEncoder final : public XzCodec {
private:
    compression_status process(compression_stream& stream, bool finalize) override
    {
        if (!started_)
            start(stream, finalize);
        return code(stream, finalize);
    }

    /// The encoder's memory is a dozen times its dictionary, so this waits until it can be seen whether the whole
    /// input is here and smaller than the dictionary of the level.
    void start(const compression_stream& stream, bool finalize)
    {
        lzma_options_lzma options;
        if (lzma_lzma_preset(&options, level))
            throw std::bad_alloc();
        if (finalize && stream.src_size < options.dict_size)
            options.dict_size = std::max(static_cast<std::uint32_t>(stream.src_size), LZMA_DICT_SIZE_MIN);
        const lzma_filter filters[] = {{LZMA_FILTER_LZMA2, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
        require(lzma_stream_encoder(&lzma_, filters, LZMA_CHECK_CRC64));
        started_ = true;
    }

    bool started_ = false;
};

class XzDecoder final : public XzCodec {
public:
    XzDecoder() { require(lzma_stream_decoder(&lzma_, decoderMemory, 0)); }

private:
    compression_status process(compression_stream& stream, bool) override { return code(stream, false); }
};

} // namespace

std::unique_ptr<Codec> makeXzEncoder()
{
    return std::make_unique<XzEncoder>();
}

std::unique_ptr<Codec> makeXzDecoder()
{
    return std::make_unique<XzDecoder>();
}

} // namespace vantorel::system::compression
