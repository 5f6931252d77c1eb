// SPDX-License-Identifier: GPL-2.0-or-later
#include "Fse.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <functional>
#include <limits>
#include <numeric>
#include <utility>

namespace vantorel::system::compression::lzfse {

namespace {

/// The most bits a transition to or from a symbol of this frequency can have.
unsigned longestBits(std::size_t states, std::uint32_t frequency)
{
    return static_cast<unsigned>(std::bit_width(states) - std::bit_width(frequency));
}

/// Calls `put(state, symbol, bits, delta)` for every state that belongs to a symbol, in order of both. The number of
/// states it came to, absent when there are fewer.
template <typename Put>
std::optional<std::size_t> walkStates(Frequencies frequencies, std::size_t states, Put put)
{
    if (std::accumulate(frequencies.begin(), frequencies.end(), std::size_t{0}) > states)
        return std::nullopt;
    const auto n = static_cast<std::uint32_t>(states);
    std::size_t state = 0;
    for (std::size_t symbol = 0; symbol < frequencies.size(); ++symbol) {
        const std::uint32_t frequency = frequencies[symbol];
        if (frequency == 0)
            continue;
        const unsigned bits = longestBits(states, frequency);
        const std::uint32_t longs = (2 * n >> bits) - frequency;
        for (std::uint32_t j = 0; j < longs; ++j)
            put(state++, symbol, bits, ((frequency + j) << bits) - n);
        for (std::uint32_t j = longs; j < frequency; ++j)
            put(state++, symbol, bits - 1, (j - longs) << (bits - 1));
    }
    return state;
}

} // namespace

void normalise(std::span<const std::uint32_t> counts, std::size_t states, std::span<std::uint16_t> frequencies)
{
    std::fill(frequencies.begin(), frequencies.end(), std::uint16_t{0});
    const std::uint64_t total = std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
    if (total == 0)
        return;

    std::size_t given = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] == 0)
            continue;
        const std::uint64_t rounded = (2 * counts[i] * states + total) / (2 * total);
        frequencies[i] = static_cast<std::uint16_t>(std::max<std::uint64_t>(rounded, 1));
        given += frequencies[i];
    }

    // What rounding left over or gave too much is made good where it changes the price of the data least: taking a
    // state from a symbol of frequency f costs about count / (f - 1/2), giving one saves count / (f + 1/2).
    const bool excess = given > states;
    using Price = std::pair<float, std::size_t>; // of the next step, and its symbol
    const auto priceOf = [&](std::size_t i) {
        const auto count = static_cast<float>(counts[i]);
        const auto frequency = static_cast<float>(frequencies[i]);
        if (!excess)
            return Price(-count / (frequency + 0.5F), i);
        return Price(frequencies[i] > 1 ? count / (frequency - 0.5F) : std::numeric_limits<float>::max(), i);
    };
    std::array<Price, literalSymbols> prices;
    auto* end = prices.data();
    for (std::size_t i = 0; i < counts.size(); ++i)
        if (counts[i] != 0)
            *end++ = priceOf(i);
    std::make_heap(prices.data(), end, std::greater<>());
    for (; given != states; given = excess ? given - 1 : given + 1) {
        std::pop_heap(prices.data(), end, std::greater<>());
        Price& cheapest = end[-1];
        std::uint16_t& frequency = frequencies[cheapest.second];
        frequency = static_cast<std::uint16_t>(excess ? frequency - 1 : frequency + 1);
        cheapest = priceOf(cheapest.second);
        std::push_heap(prices.data(), end, std::greater<>());
    }
}

std::optional<std::size_t> makeDecoderTable(Frequencies frequencies, std::span<LiteralEntry> table)
{
    const auto used = walkStates(frequencies, table.size(),
                                 [&](std::size_t state, std::size_t symbol, unsigned bits, std::uint32_t delta) {
                                     table[state] = {static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(symbol),
                                                     static_cast<std::int16_t>(delta)};
                                 });
    for (std::size_t i = used.value_or(0); i < table.size(); ++i)
        table[i] = {0, 0, static_cast<std::int16_t>(i)};
    return used;
}

std::optional<std::size_t> makeDecoderTable(Frequencies frequencies, std::span<const ValueSymbol> values,
                                            std::span<ValueEntry> table)
{
    const auto used = walkStates(frequencies, table.size(),
                                 [&](std::size_t state, std::size_t symbol, unsigned bits, std::uint32_t delta) {
                                     const ValueSymbol& value = values[symbol];
                                     table[state] = {static_cast<std::uint8_t>(bits + value.extraBits), value.extraBits,
                                                     static_cast<std::int16_t>(delta), value.base};
                                 });
    for (std::size_t i = used.value_or(0); i < table.size(); ++i)
        table[i] = {0, 0, static_cast<std::int16_t>(i), 0};
    return used;
}

void makeEncoderTable(Frequencies frequencies, std::size_t states, std::span<EncoderEntry> table)
{
    const auto n = static_cast<int>(states);
    int offset = 0;
    for (std::size_t symbol = 0; symbol < frequencies.size(); ++symbol) {
        const int frequency = frequencies[symbol];
        if (frequency == 0)
            continue;
        const auto bits = static_cast<int>(longestBits(states, static_cast<std::uint32_t>(frequency)));
        table[symbol] = {(bits << 16) - (frequency << bits), n + offset - frequency};
        offset += frequency;
    }
}

} // namespace vantorel::system::compression::lzfse
