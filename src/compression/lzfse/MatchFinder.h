// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Format.h"
#include "compression/Load.h"

#include <algorithm>
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

    /// `textSize`: of the whole text, or however much there is at once of a longer one.
    explicit MatchFinder(std::uint32_t textSize)
        : hashShift_(32 - hashBitsFor(textSize)), buckets_(std::make_unique<Bucket[]>(1U << hashBitsFor(textSize)))
    {}

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
    void enter(const Text& text, std::uint32_t place)
    {
        const std::uint32_t word = load32(text.at(place));
        bucketOf(word).enter(place, word);
    }

    /// Enters `place` and gives the longest match there that is longer than `atLeast`, the nearest of several.
    Found find(const Text& text, std::uint32_t place, std::uint32_t atLeast)
    {
        const std::uint8_t* const here = text.at(place);
        const std::uint32_t most = text.left(place);
        const std::uint32_t farthest = std::min(place - text.first, reach);
        const std::uint32_t word = load32(here);
        Bucket& bucket = bucketOf(word);

        Found best{std::max(atLeast, shortest - 1), 0};
        const Four distances = place - bucket.places;
        const auto candidates = (bucket.words == word) & (distances <= farthest);
        for (unsigned left = maskOf(candidates); left != 0; left &= left - 1) {
            const std::uint32_t distance = distances[std::countr_zero(left)];
            const std::uint8_t* const there = here - distance;
            if (best.length < most && there[best.length] == here[best.length]) {
                const std::uint32_t length = agreement(here, there, most);
                if (length > best.length)
                    best = {length, distance};
            }
        }
        bucket.enter(place, word);
        return best.distance == 0 ? Found{} : best;
    }

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
    /// The buckets for so much text: as many as there are places in it to 8, within what is of use.
    static unsigned hashBitsFor(std::uint32_t textSize)
    {
        return static_cast<unsigned>(std::clamp(static_cast<int>(std::bit_width(textSize)) - 3, 10, 14));
    }

    /// Four numbers that the processor works on at once; g++ and clang++ make do where it cannot.
    using Four = std::uint32_t __attribute__((vector_size(16)));

    /// Newest first. Half a line of the processor's cache, so that one is enough.
    struct alignas(32) Bucket {
        Four places;
        Four words;

        void enter(std::uint32_t place, std::uint32_t word)
        {
            places = __builtin_shufflevector(places, places, 0, 0, 1, 2);
            words = __builtin_shufflevector(words, words, 0, 0, 1, 2);
            places[0] = place;
            words[0] = word;
        }
    };
    static_assert(sizeof(Bucket) == 32);

    /// A bit for each of four truths, which are all ones or zeros.
    template <typename Truths>
    static unsigned maskOf(Truths truths)
    {
        const auto pairs = std::bit_cast<std::array<std::uint64_t, 2>>(truths);
        if ((pairs[0] | pairs[1]) == 0)
            return 0;
        constexpr unsigned even = std::endian::native == std::endian::little ? 0 : 32; // where they lie in a pair
        constexpr unsigned odd = 32 - even;
        return static_cast<unsigned>((pairs[0] >> even & 1) | (pairs[0] >> odd & 2) | (pairs[1] >> even & 4) |
                                     (pairs[1] >> odd & 8));
    }

    Bucket& bucketOf(std::uint32_t word) { return buckets_[word * 2654435761U >> hashShift_]; }

    unsigned hashShift_;
    std::unique_ptr<Bucket[]> buckets_;
};

} // namespace vantorel::system::compression::lzfse
