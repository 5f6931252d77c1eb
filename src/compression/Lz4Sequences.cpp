// SPDX-License-Identifier: GPL-2.0-or-later
#include "Lz4Sequences.h"

namespace vantorel::system::compression::lz4 {

namespace {

constexpr std::uint8_t lengthGoesOn = 15; // a length field of the token that is followed by more bytes
constexpr std::uint8_t byteGoesOn = 255;
constexpr std::uint8_t shortestMatch = 4;

} // namespace

void Sequences::begin(std::uint32_t encodedSize, std::uint32_t plainSize)
{
    *this = Sequences();
    encodedLeft_ = encodedSize;
    plainLeft_ = plainSize;
}

/// Takes one byte that is not a literal. False when it leads past the size the block claims.
bool Sequences::readByte(std::uint8_t byte)
{
    switch (phase_) {
    case Phase::token:
        run_ = byte >> 4;
        matchCode_ = byte & 15;
        phase_ = run_ == lengthGoesOn ? Phase::literalLength : Phase::literals;
        break;
    case Phase::distanceLow:
        distance_ = byte;
        phase_ = Phase::distanceHigh;
        break;
    case Phase::distanceHigh:
        distance_ |= static_cast<std::uint32_t>(byte) << 8;
        run_ = matchCode_ + shortestMatch;
        phase_ = matchCode_ == lengthGoesOn ? Phase::matchLength : Phase::match;
        break;
    default: // either length
        run_ += byte;
        if (byte != byteGoesOn)
            phase_ = phase_ == Phase::literalLength ? Phase::literals : Phase::match;
    }
    return run_ <= plainLeft_;
}

/// Expands whole sequences as long as they lie far from the ends of everything: of the block, the source, the room. The
/// first that is not so, or damaged, is left to be read step by step. Says how many bytes it appended.
std::size_t Sequences::decodeWhole(compression_stream& stream, SlidingWindow& window, std::size_t room)
{
    constexpr std::ptrdiff_t margin = 32; // of source, so that a sequence without long lengths may be read at once
    const std::uint8_t* in = stream.src_ptr;
    const std::uint8_t* const inEnd = in + std::min<std::size_t>(stream.src_size, encodedLeft_);
    const std::uint8_t* const oldest = window.history();
    std::uint8_t* const start = window.next();
    std::uint8_t* to = start;
    const std::uint8_t* const end = start + std::min<std::size_t>(room, plainLeft_);
    const auto readLength = [inEnd](const std::uint8_t*& from, std::ptrdiff_t length) {
        for (std::uint8_t byte = byteGoesOn; byte == byteGoesOn && inEnd - from >= margin; length += byte)
            byte = *from++;
        return length;
    };
    while (inEnd - in >= margin) {
        const std::uint8_t* from = in + 1;
        std::ptrdiff_t literals = *in >> 4;
        std::ptrdiff_t length = *in & 15;
        if (literals == lengthGoesOn)
            literals = readLength(from, literals);
        if (literals > inEnd - from - margin || literals > end - to)
            break;
        copyInSteps<16>(to, from, static_cast<std::size_t>(literals));
        from += literals;
        const std::size_t distance = from[0] | std::size_t{from[1]} << 8;
        from += 2;
        if (length == lengthGoesOn)
            length = readLength(from, length);
        length += shortestMatch;
        std::uint8_t* const match = to + literals;
        if (inEnd - from < margin || length > end - match || distance - 1 >= static_cast<std::size_t>(match - oldest))
            break;
        repeatBytes(match, distance, static_cast<std::size_t>(length));
        to = match + length;
        in = from;
    }
    encodedLeft_ -= static_cast<std::uint32_t>(passSource(stream, static_cast<std::size_t>(in - stream.src_ptr)));
    const auto count = static_cast<std::size_t>(to - start);
    plainLeft_ -= static_cast<std::uint32_t>(count);
    window.grow(count);
    return count;
}

Sequences::Result Sequences::decode(compression_stream& stream, SlidingWindow& window, std::size_t room)
{
    for (;;) {
        if (phase_ == Phase::token)
            room -= decodeWhole(stream, window, room);
        if (phase_ == Phase::match) {
            if (!window.reaches(distance_))
                return Result::damaged;
            const std::size_t count = std::min<std::uint64_t>(run_, room);
            window.copyMatch(distance_, count);
            run_ -= count;
            room -= count;
            plainLeft_ -= static_cast<std::uint32_t>(count);
            if (run_ > 0)
                return Result::more;
            phase_ = Phase::token;
        } else if (phase_ == Phase::literals) {
            const auto wanted = std::min<std::uint64_t>({run_, room, encodedLeft_});
            const std::size_t count = takeSource(stream, window.next(), wanted);
            window.grow(count);
            run_ -= count;
            room -= count;
            encodedLeft_ -= static_cast<std::uint32_t>(count);
            plainLeft_ -= static_cast<std::uint32_t>(count);
            if (run_ > 0 && encodedLeft_ == 0)
                return Result::damaged;
            if (run_ > 0)
                return Result::more;
            if (encodedLeft_ == 0) // the last sequence has no match
                return plainLeft_ == 0 ? Result::done : Result::damaged;
            phase_ = Phase::distanceLow;
        } else {
            if (encodedLeft_ == 0)
                return Result::damaged;
            std::uint8_t byte = 0;
            if (takeSource(stream, &byte, 1) == 0)
                return Result::more;
            --encodedLeft_;
            if (!readByte(byte))
                return Result::damaged;
        }
    }
}

} // namespace vantorel::system::compression::lz4
