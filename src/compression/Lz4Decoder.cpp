// SPDX-License-Identifier: GPL-2.0-or-later
#include "Lz4Frame.h"
#include "Lz4Sequences.h"
#include "StreamBuffers.h"
#include "WindowDecoder.h"

#include <lz4.h>

namespace vantorel::system::compression {

namespace {

using namespace lz4;

class Lz4Decoder final : public WindowDecoder {
public:
    Lz4Decoder() : WindowDecoder(reach, largestWhole, 3 * largestWhole) {}

private:
    /// The largest block, expanded, that is gathered to be expanded at once.
    static constexpr std::size_t largestWhole = 65536;
    static constexpr std::size_t largestEncoded = LZ4_COMPRESSBOUND(largestWhole);

    enum class Stage { header, stored, whole, inPieces };

    std::optional<Extent> firstBlock(DataView source) const noexcept override
    {
        const auto magic = readRecord<le32>(source);
        if (magic == endMagic)
            return Extent{sizeof(le32), 0, true};
        if (const auto header = readRecord<StoredHeader>(source); header && magic == storedMagic)
            return Extent{sizeof *header + std::uint64_t{header->size}, header->size};
        if (const auto header = readRecord<CompressedHeader>(source); header && magic == compressedMagic)
            return Extent{sizeof *header + std::uint64_t{header->encodedSize}, header->plainSize};
        return std::nullopt;
    }

    Step decode(compression_stream& stream) override
    {
        switch (stage_) {
        case Stage::header:
            return readHeader(stream);
        case Stage::stored:
            if (const Step step = copyPlain(stream, plainSize_); plainSize_ > 0)
                return step;
            return next(Stage::header);
        case Stage::whole:
            return expandWhole(stream);
        case Stage::inPieces:
            break;
        }
        switch (sequences_.decode(stream, window_, SlidingWindow::batch)) {
        case Sequences::Result::more:
            return stream.src_size == 0 ? Step::starved : Step::onward;
        case Sequences::Result::done:
            return next(Stage::header);
        default:
            return Step::damaged;
        }
    }

    Step next(Stage stage)
    {
        stage_ = stage;
        gathered_.clear();
        return Step::onward;
    }

    Step readHeader(compression_stream& stream)
    {
        if (!gathered_.gather(stream, sizeof(le32)))
            return Step::starved;
        const std::uint32_t magic = *readRecord<le32>(gathered_.view());
        if (magic == endMagic)
            return Step::ended;
        if (magic == storedMagic) {
            if (!gathered_.gather(stream, sizeof(StoredHeader)))
                return Step::starved;
            plainSize_ = readRecord<StoredHeader>(gathered_.view())->size;
            return next(Stage::stored);
        }
        if (magic != compressedMagic)
            return Step::damaged;
        if (!gathered_.gather(stream, sizeof(CompressedHeader)))
            return Step::starved;
        const auto header = *readRecord<CompressedHeader>(gathered_.view());
        plainSize_ = header.plainSize;
        encodedSize_ = header.encodedSize;
        sequences_.begin(encodedSize_, plainSize_);
        return next(plainSize_ <= largestWhole && encodedSize_ <= largestEncoded ? Stage::whole : Stage::inPieces);
    }

    Step expandWhole(compression_stream& stream)
    {
        // Straight out of the source when the block lies there whole.
        const bool direct = gathered_.view().empty() && stream.src_size >= encodedSize_;
        if (!direct && !gathered_.gather(stream, encodedSize_))
            return Step::starved;
        const std::uint8_t* const encoded = direct ? stream.src_ptr : gathered_.view().data();
        const std::size_t known = std::min(window_.historySize(), reach);
        const int size = LZ4_decompress_safe_usingDict(
            reinterpret_cast<const char*>(encoded), reinterpret_cast<char*>(window_.next()),
            static_cast<int>(encodedSize_), static_cast<int>(plainSize_),
            reinterpret_cast<const char*>(window_.next() - known), static_cast<int>(known));
        if (size < 0 || static_cast<std::uint32_t>(size) != plainSize_)
            return Step::damaged;
        if (direct) {
            stream.src_ptr += encodedSize_;
            stream.src_size -= encodedSize_;
        }
        window_.grow(plainSize_);
        return next(Stage::header);
    }

    Stage stage_ = Stage::header;
    Gathered gathered_{largestEncoded};
    std::uint32_t plainSize_ = 0;
    std::uint32_t encodedSize_ = 0;
    Sequences sequences_;
};

} // namespace

std::unique_ptr<Codec> makeLz4Decoder()
{
    return std::make_unique<Lz4Decoder>();
}

} // namespace vantorel::system::compression
