// SPDX-License-Identifier: GPL-2.0-or-later
#include "MatchFinder.h"

#include "Fse.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vantorel::system::compression::lzfse {

namespace {

constexpr unsigned hashBits = 15;
constexpr std::uint32_t windowMask = (1U << 18) - 1;
static_assert(windowMask >= reach);

/// More places are not looked at; longer matches are not bettered.
constexpr unsigned mostTries = 8;
constexpr std::uint32_t goodLength = 48;

std::uint32_t load32(const std::uint8_t* from)
{
    std::uint32_t value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

std::uint32_t hashAt(const std::uint8_t* from)
{
    return load32(from) * 2654435761U >> (32 - hashBits);
}

} // namespace

MatchFinder::MatchFinder()
    : last_(std::make_unique<std::uint32_t[]>(1U << hashBits)),
      previous_(std::make_unique_for_overwrite<std::uint32_t[]>(windowMask + 1))
{
}

std::uint32_t MatchFinder::agreement(const std::uint8_t* a, const std::uint8_t* b, std::uint32_t most)
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

void MatchFinder::enter(const Text& text, std::uint32_t place)
{
    std::uint32_t& last = last_[hashAt(text.at(place))];
    previous_[place & windowMask] = last;
    last = place;
}

MatchFinder::Found MatchFinder::find(const Text& text, std::uint32_t place, std::uint32_t atLeast)
{
    const std::uint8_t* const here = text.at(place);
    const std::uint32_t most = text.left(place);
    const std::uint32_t farthest = std::min(place - text.first, reach);
    std::uint32_t& last = last_[hashAt(here)];
    std::uint32_t candidate = last;
    previous_[place & windowMask] = last;
    last = place;

    Found best{std::max(atLeast, shortest - 1), 0};
    const std::uint32_t word = load32(here);
    std::uint32_t distance = 0;
    for (unsigned tries = mostTries; tries > 0; --tries) {
        // A chain is over where it stops leading further back: places behind that were overwritten.
        const std::uint32_t farther = place - candidate;
        if (farther <= distance || farther > farthest)
            break;
        distance = farther;
        const std::uint8_t* const there = here - distance;
        if (best.length < most && there[best.length] == here[best.length] && load32(there) == word) {
            const std::uint32_t length = agreement(here, there, most);
            if (length > best.length)
                best = {length, distance};
            if (length >= goodLength)
                break;
        }
        candidate = previous_[candidate & windowMask];
    }
    return best.distance == 0 ? Found{} : best;
}

} // namespace vantorel::system::compression::lzfse
