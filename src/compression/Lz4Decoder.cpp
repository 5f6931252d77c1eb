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
        return Step::onward;
    }

    Step readHeader(compression_stream& stream)
    {
        const std::uint8_t* bytes = gathered_.look(stream, sizeof(le32));
        if (!bytes)
            return Step::starved;
        switch (*readRecord<le32>({bytes, sizeof(le32)})) {
        case endMagic:
            gathered_.pass(stream, sizeof(le32));
            return Step::ended;
        case storedMagic:
            if (bytes = gathered_.look(stream, sizeof(StoredHeader)); !bytes)
                return Step::starved;
            plainSize_ = readRecord<StoredHeader>({bytes, sizeof(StoredHeader)})->size;
            gathered_.pass(stream, sizeof(StoredHeader));
            return next(Stage::stored);
        case compressedMagic: {
            if (bytes = gathered_.look(stream, sizeof(CompressedHeader)); !bytes)
                return Step::starved;
            const auto header = *readRecord<CompressedHeader>({bytes, sizeof(CompressedHeader)});
            gathered_.pass(stream, sizeof header);
            plainSize_ = header.plainSize;
            encodedSize_ = header.encodedSize;
            sequences_.begin(encodedSize_, plainSize_);
            return next(plainSize_ <= largestWhole && encodedSize_ <= largestEncoded ? Stage::whole : Stage::inPieces);
        }
        default:
            return Step::damaged;
        }
    }

    Step expandWhole(compression_stream& stream)
    {
        const std::uint8_t* const encoded = gathered_.look(stream, encodedSize_);
        if (!encoded)
            return Step::starved;
        const std::size_t known = std::min(window_.historySize(), reach);
        const int size = LZ4_decompress_safe_usingDict(
            reinterpret_cast<const char*>(encoded), reinterpret_cast<char*>(window_.next()),
            static_cast<int>(encodedSize_), static_cast<int>(plainSize_),
            reinterpret_cast<const char*>(window_.next() - known), static_cast<int>(known));
        if (size < 0 || static_cast<std::uint32_t>(size) != plainSize_)
            return Step::damaged;
        gathered_.pass(stream, encodedSize_);
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
