// SPDX-License-Identifier: GPL-2.0-or-later
#include "BlockBuilder.h"
#include "MatchFinder.h"
#include "compression/StreamBuffers.h"

namespace vantorel::system::compression {

namespace {

using namespace lzfse;

/// Gathers source behind the window and, whenever the buffer is full, looks for matches in it. What comes out depends
/// on the bytes alone, not on the portions they came in.
class LzfseEncoder final : public Codec {
public:
    LzfseEncoder() : buffer_(std::make_unique_for_overwrite<std::uint8_t[]>(capacity)) {}

private:
    static constexpr std::uint32_t capacity = 262144 + 131072;

    /// Input below this size becomes LZVN opcodes or stays plain; an entropy-coded block would not pay its tables.
    static constexpr std::uint32_t shortestEntropy = 4096;

    /// As long as more source may come, so many bytes are left over, so that few matches end with the buffer.
    static constexpr std::uint32_t lookAhead = 4096;

    /// A match this long is taken without a look at the next place, and its inner places are not all entered.
    static constexpr std::uint32_t longMatch = 12;
    static constexpr std::uint32_t enteredOfLong = 16;

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
            text_.size +=
                static_cast<std::uint32_t>(takeSource(stream, buffer_.get() + text_.size, capacity - text_.size));
            const bool last = finalize && stream.src_size == 0;
            if (text_.size < capacity && !last)
                return COMPRESSION_STATUS_OK;
            compress(last);
        }
    }

    /// Works until there is something to hand out, or on to where more source is needed.
    void compress(bool last)
    {
        const std::uint32_t end = text_.first + text_.size - (last ? 0 : lookAhead);
        while (out_.empty()) {
            if (!block_.add(run_))
                finishBlock();
            else if (text_.left(place_) > text_.left(end))
                advance();
            else if (!last)
                return slide();
            else if (literalStart_ != place_)
                queue(place_, {});
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
        const MatchFinder::Found found = finder_.find(text_, place, std::max(atLeast, again.length));
        return found.length != 0 ? found : again;
    }

    void enterBetween(std::uint32_t from, std::uint32_t to)
    {
        if (to - from > 2 * enteredOfLong) {
            for (const std::uint32_t stop = from + enteredOfLong; from != stop; ++from)
                finder_.enter(text_, from);
            from = to - enteredOfLong;
        }
        for (; from < to && text_.left(from) >= MatchFinder::shortest; ++from)
            finder_.enter(text_, from);
    }

    /// Makes the literals up to `place` and the match there the next to be added to the block.
    void queue(std::uint32_t place, MatchFinder::Found match)
    {
        run_ = {text_.at(literalStart_), place - literalStart_, match.length, match.distance};
        if (match.length > 0)
            distance_ = match.distance;
        literalStart_ = place;
    }

    void finishBlock()
    {
        const std::uint32_t size = block_.plainSize();
        const std::uint8_t* const plain = text_.at(blockStart_);
        if (isShort_)
            block_.finishShort(plain, out_);
        else
            block_.finish(plain, out_);
        blockStart_ += size;
    }

    void finishStream()
    {
        isShort_ = text_.first == start && text_.size < shortestEntropy;
        if (isShort_ || !block_.empty())
            finishBlock();
        out_.append(le32(endMagic));
        ended_ = true;
    }

    /// Makes room for more source; the window stays, and with it all that was not handed out.
    void slide()
    {
        const std::uint32_t surplus = place_ - text_.first - reach;
        std::memmove(buffer_.get(), buffer_.get() + surplus, text_.size - surplus);
        text_.first += surplus;
        text_.size -= surplus;
    }

    std::unique_ptr<std::uint8_t[]> buffer_;
    MatchFinder::Text text_{buffer_.get(), start, 0};
    MatchFinder finder_;
    BlockBuilder block_;
    Outgoing out_{BlockBuilder::maxBlock + sizeof endMagic};
    BlockBuilder::Run run_;              ///< found and not in the block yet
    std::uint32_t place_ = start;        ///< the next to be looked at
    std::uint32_t literalStart_ = start; ///< behind all that was queued
    std::uint32_t blockStart_ = start;
    std::uint32_t distance_ = 0; ///< of the match before; 0 before the first
    std::uint32_t misses_ = 0;   ///< places without a match since the last
    bool isShort_ = false;
    bool ended_ = false;
};

} // namespace

std::unique_ptr<Codec> makeLzfseEncoder()
{
    return std::make_unique<LzfseEncoder>();
}

} // namespace vantorel::system::compression
