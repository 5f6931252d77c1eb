// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Codec.h"
#include "SlidingWindow.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace vantorel::system::compression {

/// The round of a decoder that puts out into a window: decode a batch, hand it out, make room, decode the next. Its
/// stream is a row of blocks.
class WindowDecoder : public Codec {
public:
    [[nodiscard]] std::uint64_t claimedSize(DataView source) const noexcept final
    {
        std::uint64_t claimed = 0;
        for (;;) {
            const auto block = firstBlock(source);
            if (!block || block->size > source.size())
                return 0;
            if (block->last)
                return claimed;
            claimed += block->plainSize;
            source = source.subspan(static_cast<std::size_t>(block->size));
        }
    }

protected:
    /// `room`: what `decode` finds free in the window each time; `spare`: so much more before its contents are moved.
    WindowDecoder(std::size_t reach, std::size_t room, std::size_t spare) : window_(reach, room + spare), room_(room)
    {
        assert(room + overshoot <= COMPRESSION_STREAM_AHEAD);
    }

    enum class Step {
        onward,  ///< something was done; hand it out and call again
        starved, ///< nothing to be done without more source
        ended,   ///< the end of the stream was read
        damaged,
    };

    /// How far a block reaches, going by its header.
    struct Extent {
        std::uint64_t size; ///< of header and payload
        std::uint64_t plainSize;
        bool last = false; ///< the end of the stream
    };

    /// Absent when `source` does not begin with the whole header of a block.
    [[nodiscard]] virtual std::optional<Extent> firstBlock(DataView source) const noexcept = 0;

    /// Takes from the source and appends to the window, in which nothing is pending; at most `room` bytes.
    [[nodiscard]] virtual Step decode(compression_stream& stream) = 0;

    /// Takes plain bytes up to `left` and counts them off that; starved when the source has not a whole batch of them.
    Step copyPlain(compression_stream& stream, std::uint32_t& left)
    {
        const std::size_t wanted = std::min<std::size_t>(left, SlidingWindow::batch);
        const std::size_t count = takeSource(stream, window_.next(), wanted);
        window_.grow(count);
        left -= static_cast<std::uint32_t>(count);
        return count < wanted ? Step::starved : Step::onward;
    }

    SlidingWindow window_;

private:
    compression_status process(compression_stream& stream, bool) final
    {
        window_.lieIn(stream, inPlace());
        for (;;) {
            window_.drain(stream);
            if (window_.pending() > 0)
                return COMPRESSION_STATUS_OK;
            if (ended_)
                return COMPRESSION_STATUS_END;
            window_.makeRoom(room_);
            const Step step = decode(stream);
            if (step == Step::damaged)
                return COMPRESSION_STATUS_ERROR;
            if (step == Step::starved && window_.pending() == 0)
                return COMPRESSION_STATUS_OK;
            ended_ = step == Step::ended;
        }
    }

    std::size_t room_;
    bool ended_ = false;
};

} // namespace vantorel::system::compression
