// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Codec.h"
#include "FastCopy.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace vantorel::system::compression {

/// What a decoder has put out: the bytes that matches may reach back to, and behind them those the caller has not
/// taken yet. It lies in one piece, so that copies need no thought of a wrap: in a buffer of its own, where the last
/// `reach` bytes move to the front when the end comes near; or in place, in the destination of the stream itself.
class SlidingWindow {
public:
    /// `reach`: the largest distance a match can have. `room`: how many bytes fit behind that.
    SlidingWindow(std::size_t reach, std::size_t room) : reach_(reach), capacity_(reach + room) {}

    /// Before any other call, and before the first after the destination changed.
    void lieIn(compression_stream& stream, bool inPlace)
    {
        if (inPlace) {
            bytes_ = stream.dst_ptr - taken_;
            capacity_ = taken_ + stream.dst_size + COMPRESSION_STREAM_AHEAD - overshoot;
        } else if (!own_) {
            own_ = std::make_unique_for_overwrite<std::uint8_t[]>(capacity_ + overshoot);
            bytes_ = own_.get();
        }
    }

    /// A decoder stops to hand out when this much is waiting: little enough to be still in the processor's cache.
    static constexpr std::size_t batch = 32768;

    [[nodiscard]] std::size_t pending() const { return end_ - taken_; }
    [[nodiscard]] std::size_t room() const { return capacity_ - end_; }

    /// Whether bytes so far back exist.
    [[nodiscard]] bool reaches(std::size_t distance) const { return distance != 0 && distance <= end_; }

    /// The bytes kept, oldest first.
    [[nodiscard]] const std::uint8_t* history() const { return bytes_; }
    [[nodiscard]] std::size_t historySize() const { return end_; }

    /// Where the next byte goes; up to `room()` bytes may be written there and are then declared by `grow`.
    [[nodiscard]] std::uint8_t* next() { return bytes_ + end_; }
    void grow(std::size_t count)
    {
        assert(count <= room());
        end_ += count;
    }

    /// Appends `count` bytes, at most `room()`.
    void append(const std::uint8_t* from, std::size_t count)
    {
        if (count > 0)
            std::memcpy(next(), from, count);
        grow(count);
    }

    /// Appends `count` bytes, at most `room()`, from `distance` bytes back; `reaches(distance)` holds. Bytes that the
    /// copy itself writes are read again when it overlaps them.
    void copyMatch(std::size_t distance, std::size_t count)
    {
        repeatBytes(next(), distance, count);
        grow(count);
    }

    /// Hands out what the destination takes.
    void drain(compression_stream& stream)
    {
        if (own_)
            taken_ += giveDestination(stream, bytes_ + taken_, pending());
        else
            taken_ += passDestination(stream, pending());
    }

    /// Sees to room for `count` bytes when nothing is pending; `count` is at most the room given at construction.
    void makeRoom(std::size_t count)
    {
        assert(pending() == 0);
        if (room() >= count)
            return;
        std::memmove(bytes_, bytes_ + end_ - reach_, reach_);
        taken_ = end_ = reach_;
    }

private:
    std::size_t reach_;
    std::size_t capacity_;
    std::size_t taken_ = 0;
    std::size_t end_ = 0;
    std::unique_ptr<std::uint8_t[]> own_; ///< absent in place
    std::uint8_t* bytes_ = nullptr;
};

} // namespace vantorel::system::compression
