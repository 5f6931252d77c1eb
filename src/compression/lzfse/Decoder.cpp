// SPDX-License-Identifier: GPL-2.0-or-later
#include "EntropyReader.h"
#include "Lzvn.h"
#include "compression/StreamBuffers.h"
#include "compression/WindowDecoder.h"

namespace vantorel::system::compression {

namespace {

using namespace lzfse;

/// Reads block after block. Those that are entropy coded are gathered whole, since they are read from their ends.
class LzfseDecoder final : public WindowDecoder {
public:
    LzfseDecoder() : WindowDecoder(reach, room, 262144) {}

private:
    static constexpr std::size_t room = std::max(EntropyReader::room, LzvnReader::room);

    enum class Stage { magic, plain, lzvn, entropyHeader, packedHeader, payload, matches };

    std::optional<Extent> firstBlock(DataView source) const noexcept override
    {
        const auto magic = readRecord<le32>(source);
        if (magic == endMagic)
            return Extent{sizeof(le32), 0, true};
        if (const auto header = readRecord<PlainHeader>(source); header && magic == plainMagic)
            return Extent{sizeof *header + std::uint64_t{header->plainSize}, header->plainSize};
        if (const auto header = readRecord<LzvnHeader>(source); header && magic == lzvnMagic)
            return Extent{sizeof *header + std::uint64_t{header->payloadSize}, header->plainSize};
        if (const auto header = readRecord<EntropyHeader>(source); header && magic == entropyMagic)
            return Extent{sizeof *header + std::uint64_t{header->payloadSize}, header->plainSize};
        if (const auto header = readRecord<PackedHeader>(source); header && magic == packedEntropyMagic)
            if (const auto size = packedSize(*header))
                return Extent{*size + std::uint64_t{payloadSize(*header)}, header->plainSize};
        return std::nullopt;
    }

    Step decode(compression_stream& stream) override
    {
        switch (stage_) {
        case Stage::magic:
            return readMagic(stream);
        case Stage::plain:
            if (const Step step = copyPlain(stream, plainLeft_); plainLeft_ > 0)
                return step;
            return nextAfresh(Stage::magic);
        case Stage::lzvn:
            return decodeLzvn(stream);
        case Stage::entropyHeader:
            return readEntropyHeader(stream);
        case Stage::packedHeader:
            return readPackedHeader(stream);
        case Stage::payload:
            return readPayload(stream);
        case Stage::matches:
            break;
        }
        return decodeMatches();
    }

    Step next(Stage stage)
    {
        stage_ = stage;
        return Step::onward;
    }

    /// The same for what starts with a byte of the source that was not gathered yet.
    Step nextAfresh(Stage stage)
    {
        gathered_.clear();
        return next(stage);
    }

    Step readMagic(compression_stream& stream)
    {
        if (!gathered_.gather(stream, sizeof(le32)))
            return Step::starved;
        switch (*readRecord<le32>(gathered_.view())) {
        case endMagic:
            return Step::ended;
        case plainMagic:
            if (!gathered_.gather(stream, sizeof(PlainHeader)))
                return Step::starved;
            plainLeft_ = readRecord<PlainHeader>(gathered_.view())->plainSize;
            return nextAfresh(Stage::plain);
        case lzvnMagic: {
            if (!gathered_.gather(stream, sizeof(LzvnHeader)))
                return Step::starved;
            const auto header = *readRecord<LzvnHeader>(gathered_.view());
            lzvn_.begin(header.plainSize, header.payloadSize);
            return nextAfresh(Stage::lzvn);
        }
        case entropyMagic:
            return next(Stage::entropyHeader);
        case packedEntropyMagic:
            return next(Stage::packedHeader);
        default:
            return Step::damaged;
        }
    }

    Step decodeLzvn(compression_stream& stream)
    {
        switch (lzvn_.decode(stream, gathered_, window_)) {
        case LzvnReader::Result::more:
            return Step::onward;
        case LzvnReader::Result::starved:
            return Step::starved;
        case LzvnReader::Result::done:
            return nextAfresh(Stage::magic);
        default:
            return Step::damaged;
        }
    }

    Step readEntropyHeader(compression_stream& stream)
    {
        if (!gathered_.gather(stream, sizeof(EntropyHeader)))
            return Step::starved;
        return acceptHeader(*readRecord<EntropyHeader>(gathered_.view()), sizeof(EntropyHeader));
    }

    Step readPackedHeader(compression_stream& stream)
    {
        if (!gathered_.gather(stream, sizeof(PackedHeader)))
            return Step::starved;
        const auto size = packedSize(*readRecord<PackedHeader>(gathered_.view()));
        if (!size)
            return Step::damaged;
        if (!gathered_.gather(stream, *size))
            return Step::starved;
        const auto header = unpack(gathered_.view());
        return header ? acceptHeader(*header, *size) : Step::damaged;
    }

    Step acceptHeader(const EntropyHeader& header, std::size_t size)
    {
        if (!isPlausible(header))
            return Step::damaged;
        header_ = header;
        headerSize_ = size;
        return next(Stage::payload);
    }

    Step readPayload(compression_stream& stream)
    {
        if (!gathered_.gather(stream, headerSize_ + header_.payloadSize))
            return Step::starved;
        // The header lies before the payload, and the slack of the buffer behind it.
        if (!entropy_.begin(header_, gathered_.view().data() + headerSize_))
            return Step::damaged;
        return next(Stage::matches);
    }

    Step decodeMatches()
    {
        switch (entropy_.decode(window_)) {
        case EntropyReader::Result::more:
            return Step::onward;
        case EntropyReader::Result::done:
            return nextAfresh(Stage::magic);
        default:
            return Step::damaged;
        }
    }

    Stage stage_ = Stage::magic;
    Gathered gathered_{sizeof(EntropyHeader) + maxLiteralPayload + maxMatchPayload, 8};
    std::uint32_t plainLeft_ = 0;
    LzvnReader lzvn_;
    EntropyHeader header_{};
    std::size_t headerSize_ = 0;
    EntropyReader entropy_;
};

} // namespace

std::unique_ptr<Codec> makeLzfseDecoder()
{
    return std::make_unique<LzfseDecoder>();
}

} // namespace vantorel::system::compression
