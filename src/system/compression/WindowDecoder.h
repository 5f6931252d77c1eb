// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Codec.h"
#include "SlidingWindow.h"

namespace vantorel::system::compression {

/// The round of a decoder that puts out into a window: decode a batch, hand it out, make room, decode the next.
class WindowDecoder : public Codec {
protected:
    /// `room`: what `decode` finds free in the window each time; `spare`: so much more before its contents are moved.
    WindowDecoder(std::size_t reach, std::size_t room, std::size_t spare) : window_(reach, room + spare), room_(room) {}

    enum class Step {
        onward,  ///< something was done; hand it out and call again
        starved, ///< nothing to be done without more source
        ended,   ///< the end of the stream was read
        damaged,
    };

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
