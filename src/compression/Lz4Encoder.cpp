// SPDX-License-Identifier: GPL-2.0-or-later
#include "Codec.h"
#include "Lz4Frame.h"
#include "StreamBuffers.h"

#include <lz4.h>

namespace vantorel::system::compression {

namespace {

using namespace lz4;

/// Gathers blocks of `blockSize` behind the history and frames what liblz4 makes of each.
class Lz4Encoder final : public Codec {
public:
    Lz4Encoder() { LZ4_initStream(&lz4_, sizeof lz4_); }

private:
    /// Room for the history and a few blocks, so that the history moves to the front only now and then.
    static constexpr std::size_t plainCapacity = reach + 131072;

    compression_status process(compression_stream& stream, bool finalize) override
    {
        for (;;) {
            if (!framed_.drain(stream))
                return COMPRESSION_STATUS_OK;
            if (ended_)
                return COMPRESSION_STATUS_END;

            const std::uint8_t* const block = gather(stream);
            const bool last = finalize && stream.src_size == 0;
            if (gathered_ < blockSize && !last)
                return COMPRESSION_STATUS_OK;
            if (framed_.room() == 0) // made for the first block, which is as large as any
                framed_ = Outgoing(sizeof(CompressedHeader) + gathered_ + sizeof endMagic);
            if (gathered_ > 0)
                writeBlock(block);
            if (last) {
                framed_.append(le32(endMagic));
                ended_ = true;
            }
        }
    }

    /// Takes from the source what the block still has room for, and says where the block begins.
    const std::uint8_t* gather(compression_stream& stream)
    {
        const std::size_t wanted = blockSize - gathered_;
        if (inPlace()) {
            gathered_ += passSource(stream, wanted);
            return stream.src_ptr - gathered_;
        }
        if (!plain_)
            plain_ = std::make_unique_for_overwrite<std::uint8_t[]>(plainCapacity);
        std::uint8_t* const block = plain_.get() + blockStart_;
        gathered_ += takeSource(stream, block + gathered_, wanted);
        return block;
    }

    void writeBlock(const std::uint8_t* block)
    {
        const auto plainSize = static_cast<std::uint32_t>(gathered_);
        const auto encodedSize = static_cast<std::uint32_t>(encode(block, framed_.next() + sizeof(CompressedHeader)));
        if (encodedSize > 0) {
            framed_.append(CompressedHeader{compressedMagic, plainSize, encodedSize});
            framed_.grow(encodedSize);
        } else {
            framed_.append(StoredHeader{storedMagic, plainSize});
            framed_.append(block, plainSize);
        }
        blockStart_ += gathered_;
        gathered_ = 0;
        if (plain_ && blockStart_ + blockSize > plainCapacity)
            blockStart_ = static_cast<std::size_t>(LZ4_saveDict(&lz4_, reinterpret_cast<char*>(plain_.get()), reach));
    }

    /// The size of the block as it was encoded to `to`; 0 when that is no smaller than the block itself.
    int encode(const std::uint8_t* block, std::uint8_t* to)
    {
        if (isNoise_) {
            // Noise goes on for more than a block as a rule. A glance tells whether this is a block of it, too.
            if (tryEncode(block, to, glance) == 0)
                return 0;
            LZ4_initStream(&lz4_, sizeof lz4_);
        }
        const int size = tryEncode(block, to, thorough);
        isNoise_ = size == 0;
        return size;
    }

    /// Leaves the stream without a history when it gives 0: after a failure liblz4 knows its state no more, and no
    /// match is looked for in noise.
    int tryEncode(const std::uint8_t* block, std::uint8_t* to, int acceleration)
    {
        const auto plainSize = static_cast<int>(gathered_);
        const int size =
            LZ4_compress_fast_continue(&lz4_, reinterpret_cast<const char*>(block), reinterpret_cast<char*>(to),
                                       plainSize, plainSize - 1, acceleration);
        if (size == 0)
            LZ4_initStream(&lz4_, sizeof lz4_);
        return size;
    }

    /// How many places liblz4 passes over unseen where it finds no match, to begin with.
    static constexpr int thorough = 1;
    static constexpr int glance = 64;

    LZ4_stream_t lz4_;
    std::unique_ptr<std::uint8_t[]> plain_;
    std::size_t blockStart_ = 0;
    std::size_t gathered_ = 0; ///< bytes of the block so far
    bool isNoise_ = false;     ///< the block before did not compress
    Outgoing framed_{0};
    bool ended_ = false;
};

} // namespace

std::unique_ptr<Codec> makeLz4Encoder()
{
    return std::make_unique<Lz4Encoder>();
}

} // namespace vantorel::system::compression
