// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Format.h"
#include "compression/Load.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

/// Finite state entropy coding: an automaton of 2^n states whose transitions read or write the bits. A symbol owns as
/// many states as its frequency says; the rarer it is, the more bits a transition costs.
namespace vantorel::system::compression::lzfse {

using Frequencies = std::span<const std::uint16_t>;

/// Turns counts into frequencies that add up to `states`, at least 1 for each symbol that occurs. All zero when nothing
/// was counted. There are at most `states` symbols.
void normalise(std::span<const std::uint32_t> counts, std::size_t states, std::span<std::uint16_t> frequencies);

/// A transition of the decoder: the next state is `delta` plus the next `bits` bits.
struct LiteralEntry {
    std::uint8_t bits;
    std::uint8_t symbol;
    std::int16_t delta;
};

/// Here the bits of the next state and the extra bits of the value are read as one field, the state on top.
struct ValueEntry {
    std::uint8_t bits;      ///< of both
    std::uint8_t extraBits; ///< of the value
    std::int16_t delta;
    std::uint32_t base;
};

/// Both give the number of states that belong to a symbol, absent when the frequencies ask for more than there are.
/// A state that belongs to none leads to itself, so that a payload that ever enters one ends there.
[[nodiscard]] std::optional<std::size_t> makeDecoderTable(Frequencies frequencies, std::span<LiteralEntry> table);
[[nodiscard]] std::optional<std::size_t> makeDecoderTable(Frequencies frequencies, std::span<const ValueSymbol> values,
                                                          std::span<ValueEntry> table);

/// What the encoder does on a symbol. Its states are counted from 2^n upwards, so that one addition tells how many bits
/// a state gives off, and another leads on to the next one.
struct EncoderEntry {
    std::int32_t bitsOffset; ///< added to the state it gives the number of bits, in the upper half
    std::int32_t delta;      ///< from what is left of the state to the next one
};

/// `frequencies` add up to at most `states`. Entries of symbols that do not occur are left alone.
void makeEncoderTable(Frequencies frequencies, std::size_t states, std::span<EncoderEntry> table);

/// Writes bits upwards from the lowest of the first byte.
class BitWriter {
public:
    /// Up to 8 bytes behind the last bit may be overwritten.
    explicit BitWriter(std::uint8_t* to) : next_(to) {}

    /// `value` has no bits above the `count` lowest. Between two calls of `flush` at most 56 bits are pushed.
    void push(std::uint64_t value, unsigned count)
    {
        bits_ |= value << count_;
        count_ += count;
    }

    void flush()
    {
        const le64 image(bits_);
        std::memcpy(next_, &image, sizeof image);
        const unsigned bytes = count_ / 8;
        next_ += bytes;
        bits_ >>= 8 * bytes;
        count_ %= 8;
    }

    /// Fills the last byte with zeros and says how many it took; `next` is behind it then.
    unsigned finish()
    {
        flush();
        const unsigned unused = (8 - count_) % 8;
        next_ += count_ > 0 ? 1 : 0;
        return unused;
    }

    [[nodiscard]] std::uint8_t* next() const { return next_; }

private:
    std::uint8_t* next_;
    std::uint64_t bits_ = 0;
    unsigned count_ = 0;
};

/// Reads bits downwards from the highest of the last byte, the reverse of how they were written.
class BackwardBitReader {
public:
    /// 8 bytes before the payload and one behind it must be readable; what they hold is of no weight.
    explicit BackwardBitReader(DataView payload)
        : start_(payload.data()), left_(8 * static_cast<std::ptrdiff_t>(payload.size()))
    {}

    /// Loads until at least 56 bits can be pulled. False when more was pulled than there is; nothing is read then.
    [[nodiscard]] bool refill()
    {
        if (overrun())
            return false;
        bits_ = load64(start_ + left_ / 8 - 7) << (8 - left_ % 8);
        return true;
    }

    /// The next `count` bits, fewer than 64, the first read on top.
    [[nodiscard]] std::uint32_t pull(unsigned count)
    {
        bits_ = std::rotl(bits_, static_cast<int>(count));
        left_ -= count;
        return static_cast<std::uint32_t>(bits_) & ((1U << count) - 1);
    }

    /// Whether bits were pulled from before the payload.
    [[nodiscard]] bool overrun() const { return left_ < 0; }

private:
    const std::uint8_t* start_;
    std::ptrdiff_t left_;    ///< bits of the payload not pulled
    std::uint64_t bits_ = 0; ///< the next of them, from the highest downwards
};

} // namespace vantorel::system::compression::lzfse
