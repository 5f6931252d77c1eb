// SPDX-License-Identifier: GPL-2.0-or-later
#include "Fse.h"

#include <algorithm>
#include <numeric>

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
        for (std::uint32_t j = 0; j < frequency; ++j, ++state) {
            if (j < longs)
                put(state, symbol, bits, ((frequency + j) << bits) - n);
            else
                put(state, symbol, bits - 1, (j - longs) << (bits - 1));
        }
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
    const auto price = [&](std::size_t i, double half) {
        return static_cast<double>(counts[i]) / (static_cast<double>(frequencies[i]) + half);
    };
    for (; given > states; --given) {
        std::size_t best = counts.size();
        for (std::size_t i = 0; i < counts.size(); ++i)
            if (frequencies[i] > 1 && (best == counts.size() || price(i, -0.5) < price(best, -0.5)))
                best = i;
        --frequencies[best];
    }
    for (; given < states; ++given) {
        std::size_t best = 0;
        for (std::size_t i = 1; i < counts.size(); ++i)
            if (counts[i] > 0 && (counts[best] == 0 || price(i, 0.5) > price(best, 0.5)))
                best = i;
        ++frequencies[best];
    }
}

std::optional<std::size_t> makeDecoderTable(Frequencies frequencies, std::span<LiteralEntry> table)
{
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = {0, 0, static_cast<std::int16_t>(i)};
    return walkStates(frequencies, table.size(),
                      [&](std::size_t state, std::size_t symbol, unsigned bits, std::uint32_t delta) {
                          table[state] = {static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(symbol),
                                          static_cast<std::int16_t>(delta)};
                      });
}

std::optional<std::size_t> makeDecoderTable(Frequencies frequencies, std::span<const ValueSymbol> values,
                                            std::span<ValueEntry> table)
{
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = {0, 0, static_cast<std::int16_t>(i), 0};
    return walkStates(frequencies, table.size(),
                      [&](std::size_t state, std::size_t symbol, unsigned bits, std::uint32_t delta) {
                          const ValueSymbol& value = values[symbol];
                          table[state] = {static_cast<std::uint8_t>(bits + value.extraBits), value.extraBits,
                                          static_cast<std::int16_t>(delta), value.base};
                      });
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
        // A symbol that owns every state costs no bits; then `shortDelta` is never used.
        const int shortDelta = bits > 0 ? offset - frequency + (n >> (bits - 1)) : 0;
        table[symbol] = {static_cast<std::int16_t>((frequency << bits) - n), static_cast<std::int16_t>(bits),
                         static_cast<std::int16_t>(offset - frequency + (n >> bits)),
                         static_cast<std::int16_t>(shortDelta)};
        offset += frequency;
    }
}

} // namespace vantorel::system::compression::lzfse
