// SPDX-License-Identifier: GPL-2.0-or-later
#include "MatchFinder.h"

#include <algorithm>
#include <cstring>

namespace vantorel::system::compression::lzfse {

namespace {

constexpr unsigned hashBits = 14;

std::uint32_t load32(const std::uint8_t* from)
{
    std::uint32_t value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

std::uint32_t hashOf(std::uint32_t word)
{
    return word * 2654435761U >> (32 - hashBits);
}

} // namespace

MatchFinder::MatchFinder() : buckets_(std::make_unique<Bucket[]>(1U << hashBits)) {}

void MatchFinder::Bucket::enter(std::uint32_t place, std::uint32_t word)
{
    places = {place, places[0], places[1], places[2]};
    words = {word, words[0], words[1], words[2]};
}

void MatchFinder::enter(const Text& text, std::uint32_t place)
{
    const std::uint32_t word = load32(text.at(place));
    buckets_[hashOf(word)].enter(place, word);
}

MatchFinder::Found MatchFinder::find(const Text& text, std::uint32_t place, std::uint32_t atLeast)
{
    const std::uint8_t* const here = text.at(place);
    const std::uint32_t most = text.left(place);
    const std::uint32_t farthest = std::min(place - text.first, reach);
    const std::uint32_t word = load32(here);
    Bucket& bucket = buckets_[hashOf(word)];

    Found best{std::max(atLeast, shortest - 1), 0};
    for (std::size_t i = 0; i < ways; ++i) {
        const std::uint32_t distance = place - bucket.places[i];
        if (bucket.words[i] != word || distance > farthest)
            continue;
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

} // namespace vantorel::system::compression::lzfse
