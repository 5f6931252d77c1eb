// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Fse.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace vantorel::system::compression::lzfse {

/// Finds earlier occurrences: for every hash of four bytes the last few places where it was seen, each with the four
/// bytes themselves, so that the text is looked at only where these agree.
class MatchFinder {
public:
    static constexpr std::uint32_t shortest = 4; ///< bytes of a match, and bytes that must follow a place to enter it

    MatchFinder();

    struct Found {
        std::uint32_t length = 0; ///< 0: nothing
        std::uint32_t distance = 0;
    };

    /// The bytes being compressed. Places are counted from the start of the stream, modulo 2^32; the tables know places
    /// only, so that the bytes may be moved about.
    struct Text {
        const std::uint8_t* bytes; ///< the byte at the place `first`
        std::uint32_t first;
        std::uint32_t size;

        [[nodiscard]] const std::uint8_t* at(std::uint32_t place) const { return bytes + (place - first); }
        [[nodiscard]] std::uint32_t left(std::uint32_t place) const { return size - (place - first); }
    };

    /// Enters `place`, behind which at least `shortest` bytes are left.
    void enter(const Text& text, std::uint32_t place);

    /// Enters `place` and gives the longest match there that is longer than `atLeast`, the nearest of several.
    Found find(const Text& text, std::uint32_t place, std::uint32_t atLeast);

    /// How many bytes agree, at most `most`.
    [[nodiscard]] static std::uint32_t agreement(const std::uint8_t* a, const std::uint8_t* b, std::uint32_t most)
    {
        std::uint32_t length = 0;
        for (; length + 8 <= most; length += 8) {
            const std::uint64_t difference = load64(a + length) ^ load64(b + length);
            if (difference != 0)
                return length + static_cast<std::uint32_t>(std::countr_zero(difference)) / 8;
        }
        while (length < most && a[length] == b[length])
            ++length;
        return length;
    }

private:
    static constexpr std::size_t ways = 4;

    /// Newest first.
    struct Bucket {
        std::array<std::uint32_t, ways> places;
        std::array<std::uint32_t, ways> words;

        void enter(std::uint32_t place, std::uint32_t word);
    };

    std::unique_ptr<Bucket[]> buckets_;
};

} // namespace vantorel::system::compression::lzfse
