// SPDX-License-Identifier: GPL-2.0-or-later
#include "BlockBuilder.h"
#include "MatchFinder.h"
#include "ShortBlock.h"
#include "compression/StreamBuffers.h"

#include <optional>

namespace vantorel::system::compression {

namespace {

using namespace lzfse;

/// Looks at the source through a buffer that holds the window and, behind it, what is still to be compressed. Whenever
/// the buffer is full, matches are looked for in it. What comes out depends on the bytes alone, not on the portions
/// they came in. In place the buffer is a part of the source itself, which it moves along.
class LzfseEncoder final : public Codec {
private:
    static constexpr std::uint32_t capacity = 262144 + 131072;

    /// As long as more source may come, so many bytes are left over, so that few matches end with the buffer.
    static constexpr std::uint32_t lookAhead = 4096;

    /// A match this long is taken without a look at the next place, and its inner places are not all entered.
    static constexpr std::uint32_t longMatch = 40;
    static constexpr std::uint32_t enteredOfLong = 8;

    /// For so many places without a match, one more is passed over unseen each time, up to the largest stride.
    static constexpr std::uint32_t patience = 64;
    static constexpr std::uint32_t largestStride = 16;

    /// The first place of the stream. Above 0, the value of an empty entry in the match finder.
    static constexpr std::uint32_t start = 1;

    compression_status process(compression_stream& stream, bool finalize) override
    {
        for (;;) {
            if (!out_.drain(stream))
                return COMPRESSION_STATUS_OK;
            if (ended_)
                return COMPRESSION_STATUS_END;
            fill(stream);
            const bool last = finalize && stream.src_size == 0;
            if (text_.size < capacity && !last)
                return COMPRESSION_STATUS_OK;
            if (!finder_)
                begin(last);
            if (!ended_)
                compress(last);
        }
    }

    /// Takes from the source what the buffer has room for.
    void fill(compression_stream& stream)
    {
        const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(capacity - text_.size, stream.src_size));
        if (inPlace()) {
            text_.bytes = stream.src_ptr - text_.size;
            passSource(stream, count);
        } else {
            if (text_.size + count > allocated_)
                allocate(text_.size + count);
            takeSource(stream, buffer_.get() + text_.size, count);
        }
        text_.size += count;
    }

    /// A first portion may be all there is, so no more is set aside than it needs.
    void allocate(std::uint32_t size)
    {
        allocated_ = text_.size == 0 ? size : capacity;
        auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>(allocated_);
        if (text_.size > 0)
            std::memcpy(buffer.get(), buffer_.get(), text_.size);
        buffer_ = std::move(buffer);
        text_.bytes = buffer_.get();
    }

    /// Makes tables for the text, which is all of it if `last`, or writes the one block of a short text.
    void begin(bool last)
    {
        if (last && text_.size < shortestEntropy) {
            out_ = Outgoing(largestShortBlock(text_.size) + sizeof endMagic);
            writeShortBlock({text_.bytes, text_.size}, out_);
            return finishStream();
        }
        finder_.emplace(text_.size);
        block_.emplace(text_.size);
        out_ = Outgoing(BlockBuilder::maxBlock(text_.size) + sizeof endMagic);
    }

    /// Works until there is something to hand out, or on to where more source is needed.
    void compress(bool last)
    {
        const std::uint32_t end = text_.first + text_.size - (last ? 0 : lookAhead);
        while (out_.empty()) {
            if (!block_->add(run_))
                finishBlock();
            else if (text_.left(place_) > text_.left(end))
                advance();
            else if (!last)
                return slide();
            else if (literalStart_ != place_)
                queue(place_, {});
            else if (!block_->empty())
                finishBlock();
            else
                finishStream();
        }
    }

    /// Looks for a match at `place_`, queues what was found and goes on behind it.
    void advance()
    {
        MatchFinder::Found found = findAt(place_, 0);
        if (found.length == 0) {
            const std::uint32_t stride = std::min(1 + misses_++ / patience, largestStride);
            place_ += std::min(stride, text_.left(place_));
            if (place_ - literalStart_ >= maxLiteralCount)
                queue(place_, {});
            return;
        }
        misses_ = 0;
        // A longer match at the next place is worth a literal.
        std::uint32_t entered = place_ + 1;
        while (found.length < longMatch) {
            const MatchFinder::Found next = findAt(place_ + 1, found.length);
            entered = place_ + 2;
            if (next.length == 0)
                break;
            found = next;
            ++place_;
        }
        enterBetween(entered, place_ + found.length);
        // Places passed over may belong to the match too.
        const std::uint32_t end = place_ + found.length;
        while (place_ != literalStart_ && place_ - text_.first > found.distance &&
               *text_.at(place_ - 1) == *text_.at(place_ - 1 - found.distance)) {
            --place_;
            ++found.length;
        }
        queue(place_, found);
        place_ = literalStart_ = end;
    }

    /// Enters a place and gives the best match there; one at the distance of the match before is cheapest.
    MatchFinder::Found findAt(std::uint32_t place, std::uint32_t atLeast)
    {
        if (text_.left(place) < MatchFinder::shortest)
            return {};
        MatchFinder::Found again;
        if (distance_ != 0 && distance_ <= place - text_.first) {
            const std::uint8_t* const here = text_.at(place);
            const std::uint32_t length = MatchFinder::agreement(here, here - distance_, text_.left(place));
            if (length >= MatchFinder::shortest && length > atLeast)
                again = {length, distance_};
        }
        const MatchFinder::Found found = finder_->find(text_, place, std::max(atLeast, again.length));
        return found.length != 0 ? found : again;
    }

    void enterBetween(std::uint32_t from, std::uint32_t to)
    {
        if (to - from > 2 * enteredOfLong) {
            for (const std::uint32_t stop = from + enteredOfLong; from != stop; ++from)
                finder_->enter(text_, from);
            from = to - enteredOfLong;
        }
        for (; from < to && text_.left(from) >= MatchFinder::shortest; ++from)
            finder_->enter(text_, from);
    }

    /// Makes the literals up to `place` and the match there the next to be added to the block.
    void queue(std::uint32_t place, MatchFinder::Found match)
    {
        run_ = {text_.at(literalStart_), place - literalStart_, match.length, match.distance,
                text_.left(literalStart_)};
        if (match.length > 0)
            distance_ = match.distance;
        literalStart_ = place;
    }

    void finishBlock()
    {
        const std::uint32_t size = block_->plainSize();
        block_->finish(text_.at(blockStart_), out_);
        blockStart_ += size;
    }

    void finishStream()
    {
        out_.append(le32(endMagic));
        ended_ = true;
    }

    /// Makes room for more source; the window stays, and with it all that was not handed out.
    void slide()
    {
        const std::uint32_t surplus = place_ - text_.first - reach;
        if (inPlace())
            text_.bytes += surplus;
        else
            std::memmove(buffer_.get(), buffer_.get() + surplus, text_.size - surplus);
        text_.first += surplus;
        text_.size -= surplus;
    }

    std::unique_ptr<std::uint8_t[]> buffer_; ///< absent in place
    std::uint32_t allocated_ = 0;
    MatchFinder::Text text_{nullptr, start, 0};
    std::optional<MatchFinder> finder_;
    std::optional<BlockBuilder> block_;
    Outgoing out_{0};
    BlockBuilder::Run run_;              ///< found and not in the block yet
    std::uint32_t place_ = start;        ///< the next to be looked at
    std::uint32_t literalStart_ = start; ///< behind all that was queued
    std::uint32_t blockStart_ = start;
    std::uint32_t distance_ = 0; ///< of the match before; 0 before the first
    std::uint32_t misses_ = 0;   ///< places without a match since the last
    bool ended_ = false;
};

} // namespace

std::unique_ptr<Codec> makeLzfseEncoder()
{
    return std::make_unique<LzfseEncoder>();
}

} // namespace vantorel::system::compression
