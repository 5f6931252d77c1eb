// SPDX-License-Identifier: GPL-2.0-or-later
#include "EntropyReader.h"
#include "LzvnReader.h"
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
            return next(Stage::magic);
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

    /// The next record of the source, which is used up only for `Stage::plain` and `Stage::lzvn`: an entropy-coded
    /// block is looked at as a whole.
    template <ByteImage T>
    std::optional<T> look(compression_stream& stream)
    {
        const std::uint8_t* const bytes = gathered_.look(stream, sizeof(T));
        return bytes ? readRecord<T>({bytes, sizeof(T)}) : std::nullopt;
    }

    Step readMagic(compression_stream& stream)
    {
        const auto magic = look<le32>(stream);
        if (!magic)
            return Step::starved;
        switch (*magic) {
        case endMagic:
            gathered_.pass(stream, sizeof *magic);
            return Step::ended;
        case plainMagic: {
            const auto header = look<PlainHeader>(stream);
            if (!header)
                return Step::starved;
            gathered_.pass(stream, sizeof *header);
            plainLeft_ = header->plainSize;
            return next(Stage::plain);
        }
        case lzvnMagic: {
            const auto header = look<LzvnHeader>(stream);
            if (!header)
                return Step::starved;
            gathered_.pass(stream, sizeof *header);
            lzvn_.begin(header->plainSize, header->payloadSize);
            return next(Stage::lzvn);
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
            return next(Stage::magic);
        default:
            return Step::damaged;
        }
    }

    Step readEntropyHeader(compression_stream& stream)
    {
        const auto header = look<EntropyHeader>(stream);
        return header ? acceptHeader(*header, sizeof *header) : Step::starved;
    }

    Step readPackedHeader(compression_stream& stream)
    {
        const auto first = look<PackedHeader>(stream);
        if (!first)
            return Step::starved;
        const auto size = packedSize(*first);
        if (!size)
            return Step::damaged;
        const std::uint8_t* const bytes = gathered_.look(stream, *size);
        if (!bytes)
            return Step::starved;
        const auto header = unpack({bytes, *size});
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
        // The source may be gone when the matches are read, unless the stream is in place.
        const std::size_t size = headerSize_ + header_.payloadSize;
        if (!inPlace() && !gathered_.gather(stream, size))
            return Step::starved;
        const std::uint8_t* const bytes = gathered_.look(stream, size, EntropyReader::readBehind);
        if (!bytes)
            return Step::starved;
        if (!entropy_)
            entropy_ = std::make_unique_for_overwrite<EntropyReader>();
        if (!entropy_->begin(header_, bytes + headerSize_))
            return Step::damaged;
        gathered_.pass(stream, size); // what was gathered stays where it is until something else is
        return next(Stage::matches);
    }

    Step decodeMatches()
    {
        switch (entropy_->decode(window_)) {
        case EntropyReader::Result::more:
            return Step::onward;
        case EntropyReader::Result::done:
            return next(Stage::magic);
        default:
            return Step::damaged;
        }
    }

    Stage stage_ = Stage::magic;
    Gathered gathered_{sizeof(EntropyHeader) + maxLiteralPayload + maxMatchPayload, EntropyReader::readBehind};
    std::uint32_t plainLeft_ = 0;
    LzvnReader lzvn_;
    EntropyHeader header_{};
    std::size_t headerSize_ = 0;
    std::unique_ptr<EntropyReader> entropy_; ///< made for the first block that needs it
};

} // namespace

std::unique_ptr<Codec> makeLzfseDecoder()
{
    return std::make_unique<LzfseDecoder>();
}

} // namespace vantorel::system::compression
