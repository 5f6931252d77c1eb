// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/compression/StreamTypes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace vantorel::system::compression {

/// One direction of one algorithm.
class Codec {
public:
    Codec() = default;
    virtual ~Codec() = default;
    Codec(const Codec&) = delete;
    Codec& operator=(const Codec&) = delete;

    /// Moves bytes between the two ends of `stream`; what ended a stream once is the answer ever after.
    [[nodiscard]] compression_status run(compression_stream& stream, bool finalize) noexcept;

    /// See `compression_stream_claimed_size`.
    [[nodiscard]] virtual std::uint64_t claimedSize(DataView /*source*/) const noexcept { return 0; }

    /// See `compression_stream_in_place`. False when the stream runs already.
    bool workInPlace()
    {
        inPlace_ = inPlace_ || !started_;
        return inPlace_;
    }

protected:
    [[nodiscard]] bool inPlace() const { return inPlace_; }

private:
    /// Goes on until the source is used up, the destination is full, the stream is complete or damaged. `finalize`: no
    /// source will follow. Not called again after an end, an error or an exception.
    [[nodiscard]] virtual compression_status process(compression_stream& stream, bool finalize) = 0;

    compression_status status_ = COMPRESSION_STATUS_OK;
    bool started_ = false;
    bool inPlace_ = false;
};

[[nodiscard]] std::unique_ptr<Codec> makeDeflateEncoder();
[[nodiscard]] std::unique_ptr<Codec> makeDeflateDecoder();
[[nodiscard]] std::unique_ptr<Codec> makeXzEncoder();
[[nodiscard]] std::unique_ptr<Codec> makeXzDecoder();
[[nodiscard]] std::unique_ptr<Codec> makeLz4Encoder();
[[nodiscard]] std::unique_ptr<Codec> makeLz4Decoder();
[[nodiscard]] std::unique_ptr<Codec> makeLzfseEncoder();
[[nodiscard]] std::unique_ptr<Codec> makeLzfseDecoder();

/// Takes up to `count` bytes of the source, wherever they lie, and says how many there were.
inline std::size_t passSource(compression_stream& stream, std::size_t count)
{
    count = std::min(count, stream.src_size);
    stream.src_ptr += count;
    stream.src_size -= count;
    return count;
}

/// Copies up to `count` bytes of the source to `to` and says how many there were.
inline std::size_t takeSource(compression_stream& stream, std::uint8_t* to, std::size_t count)
{
    count = std::min(count, stream.src_size);
    if (count > 0)
        std::memcpy(to, stream.src_ptr, count);
    return passSource(stream, count);
}

/// Takes the first of `count` bytes that lie in the destination already for put out, and says how many it took.
inline std::size_t passDestination(compression_stream& stream, std::size_t count)
{
    count = std::min(count, stream.dst_size);
    stream.dst_ptr += count;
    stream.dst_size -= count;
    return count;
}

/// Copies as much of `count` bytes as the destination takes and says how many it took.
inline std::size_t giveDestination(compression_stream& stream, const std::uint8_t* from, std::size_t count)
{
    count = std::min(count, stream.dst_size);
    if (count > 0)
        std::memcpy(stream.dst_ptr, from, count);
    return passDestination(stream, count);
}

} // namespace vantorel::system::compression
