// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vantorel::system::compression::lzfse {

/// Finds earlier occurrences: for every hash of four bytes the last place where it was seen, and for every place in
/// the window the one before with the same hash.
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
    static std::uint32_t agreement(const std::uint8_t* a, const std::uint8_t* b, std::uint32_t most);

private:
    std::unique_ptr<std::uint32_t[]> last_;     ///< by hash
    std::unique_ptr<std::uint32_t[]> previous_; ///< by the low bits of the place; only what `last_` leads to was set
};

} // namespace vantorel::system::compression::lzfse
