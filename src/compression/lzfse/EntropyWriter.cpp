// SPDX-License-Identifier: GPL-2.0-or-later
#include "EntropyWriter.h"

#include "EntropyHeader.h"

namespace vantorel::system::compression::lzfse {

namespace {

/// The symbol of every number that an alphabet can tell.
template <std::size_t size, std::size_t symbols>
constexpr std::array<std::uint8_t, size> symbolsOf(const std::array<ValueSymbol, symbols>& values)
{
    std::array<std::uint8_t, size> table{};
    for (std::size_t symbol = 0; symbol < symbols; ++symbol)
        for (std::uint32_t extra = 0; extra < 1U << values[symbol].extraBits; ++extra)
            table[values[symbol].base + extra] = static_cast<std::uint8_t>(symbol);
    return table;
}

constexpr auto literalCountSymbol = symbolsOf<maxLiteralCount + 1>(literalCountValues);
constexpr auto lengthSymbol = symbolsOf<maxLength + 1>(lengthValues);

/// One alphabet: how often its symbols occur, then how to write them.
template <std::size_t symbols, std::size_t states>
struct Alphabet {
    std::array<std::uint32_t, symbols> counts{};
    std::array<EncoderEntry, symbols> table;

    /// Fixes the frequencies and writes them to `to`; gives the place behind them.
    std::uint16_t* settle(std::uint16_t* to)
    {
        const std::span<std::uint16_t> frequencies(to, symbols);
        normalise(counts, states, frequencies);
        makeEncoderTable(frequencies, states, table);
        return to + symbols;
    }

    /// Where the automaton begins and what its states are counted from.
    static constexpr std::uint32_t origin = states;

    /// The state behind `state`, which gives off bits.
    [[nodiscard]] std::uint32_t write(std::size_t symbol, std::uint32_t state, BitWriter& bits) const
    {
        const EncoderEntry entry = table[symbol];
        const auto count = (state + static_cast<std::uint32_t>(entry.bitsOffset)) >> 16;
        bits.push(state & ((1U << count) - 1), count);
        return (state >> count) + static_cast<std::uint32_t>(entry.delta);
    }
};

class EntropyWriter {
public:
    EntropyWriter(std::span<const Match> matches, DataView literals) : matches_(matches), literals_(literals) {}

    void write(std::uint32_t plainSize, Outgoing& out)
    {
        count();
        std::array<std::uint16_t, allSymbols> frequencies;
        literal_.settle(distance_.settle(length_.settle(literalCount_.settle(frequencies.data()))));

        std::uint8_t* const block = out.next();
        const std::size_t frequencySize = packFrequencies(frequencies, block + sizeof(PackedHeader));
        std::uint8_t* const payload = block + sizeof(PackedHeader) + frequencySize;
        header_.plainSize = plainSize;
        header_.literalCount = static_cast<std::uint32_t>(literals_.size());
        header_.matchCount = static_cast<std::uint32_t>(matches_.size());
        std::uint8_t* const end = writeMatches(writeLiterals(payload));
        const PackedHeader packed = pack(header_, frequencySize);
        std::memcpy(block, &packed, sizeof packed);
        out.grow(static_cast<std::size_t>(end - block));
    }

private:
    /// What is written for the distance of match `i`.
    std::uint32_t distanceOf(std::size_t i) const
    {
        const std::uint32_t distance = matches_[i].distance;
        return i > 0 && matches_[i - 1].distance == distance ? 0 : distance;
    }

    void count()
    {
        for (std::size_t i = 0; i < matches_.size(); ++i) {
            ++literalCount_.counts[literalCountSymbol[matches_[i].literals]];
            ++length_.counts[lengthSymbol[matches_[i].length]];
            ++distance_.counts[distanceSymbol(distanceOf(i))];
        }
        // Four counts of each, since one that was just raised is not there yet for the next literal.
        std::array<std::array<std::uint32_t, literalSymbols>, 4> counts{};
        for (std::size_t i = 0; i < literals_.size(); i += literalLanes)
            for (std::size_t lane = 0; lane < literalLanes; ++lane)
                ++counts[lane][literals_[i + lane]];
        for (std::size_t symbol = 0; symbol < literalSymbols; ++symbol)
            literal_.counts[symbol] = counts[0][symbol] + counts[1][symbol] + counts[2][symbol] + counts[3][symbol];
    }

    // The decoder reads both payloads from their ends, so the last symbol is written first.

    std::uint8_t* writeLiterals(std::uint8_t* to)
    {
        BitWriter bits(to);
        std::uint32_t state0 = literal_.origin;
        std::uint32_t state1 = literal_.origin;
        std::uint32_t state2 = literal_.origin;
        std::uint32_t state3 = literal_.origin;
        static_assert(literalLanes == 4);
        for (std::size_t i = literals_.size(); i > 0; i -= literalLanes) {
            state3 = literal_.write(literals_[i - 1], state3, bits);
            state2 = literal_.write(literals_[i - 2], state2, bits);
            state1 = literal_.write(literals_[i - 3], state1, bits);
            state0 = literal_.write(literals_[i - 4], state0, bits);
            bits.flush();
        }
        header_.literalBits = 0U - bits.finish();
        header_.literalPayloadSize = static_cast<std::uint32_t>(bits.next() - to);
        const std::array<std::uint32_t, literalLanes> states = {state0, state1, state2, state3};
        for (std::size_t lane = 0; lane < literalLanes; ++lane)
            header_.literalState[lane] = static_cast<std::uint16_t>(states[lane] - literal_.origin);
        return bits.next();
    }

    std::uint8_t* writeMatches(std::uint8_t* to)
    {
        std::memset(to, 0, matchPadding);
        BitWriter bits(to + matchPadding);
        std::uint32_t literalCountState = literalCount_.origin;
        std::uint32_t lengthState = length_.origin;
        std::uint32_t distanceState = distance_.origin;
        const auto write = [&bits](const auto& alphabet, const auto& values, std::size_t symbol, std::uint32_t value,
                                   std::uint32_t& state) {
            bits.push(value - values[symbol].base, values[symbol].extraBits);
            state = alphabet.write(symbol, state, bits);
        };
        for (std::size_t i = matches_.size(); i-- > 0;) {
            const auto [literals, length, unused] = matches_[i];
            const std::uint32_t distance = distanceOf(i);
            write(distance_, distanceValues, distanceSymbol(distance), distance, distanceState);
            write(length_, lengthValues, lengthSymbol[length], length, lengthState);
            write(literalCount_, literalCountValues, literalCountSymbol[literals], literals, literalCountState);
            bits.flush();
        }
        header_.matchBits = 0U - bits.finish();
        header_.matchPayloadSize = static_cast<std::uint32_t>(bits.next() - to);
        header_.literalCountState = static_cast<std::uint16_t>(literalCountState - literalCount_.origin);
        header_.lengthState = static_cast<std::uint16_t>(lengthState - length_.origin);
        header_.distanceState = static_cast<std::uint16_t>(distanceState - distance_.origin);
        return bits.next();
    }

    std::span<const Match> matches_;
    DataView literals_;
    EntropyHeader header_{};
    Alphabet<literalCountSymbols, literalCountStates> literalCount_;
    Alphabet<lengthSymbols, lengthStates> length_;
    Alphabet<distanceSymbols, distanceStates> distance_;
    Alphabet<literalSymbols, literalStates> literal_;
};

} // namespace

void writeEntropyBlock(std::span<const Match> matches, DataView literals, std::uint32_t plainSize, Outgoing& out)
{
    EntropyWriter(matches, literals).write(plainSize, out);
}

} // namespace vantorel::system::compression::lzfse
