// SPDX-License-Identifier: GPL-2.0-or-later
#include "Lz4Sequences.h"

namespace vantorel::system::compression::lz4 {

namespace {

constexpr std::uint8_t lengthGoesOn = 15; // a length field of the token that is followed by more bytes
constexpr std::uint8_t byteGoesOn = 255;
constexpr std::uint32_t shortestMatch = 4;

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

Sequences::Result Sequences::decode(compression_stream& stream, SlidingWindow& window, std::size_t room)
{
    for (;;) {
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
