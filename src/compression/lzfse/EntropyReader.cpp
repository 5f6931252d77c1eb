// SPDX-License-Identifier: GPL-2.0-or-later
#include "EntropyReader.h"

namespace vantorel::system::compression::lzfse {

namespace {

/// A reader at the first bit of a payload; absent when the bits declared unused are not zero.
std::optional<BackwardBitReader> readerOf(DataView payload, std::uint32_t bits)
{
    BackwardBitReader reader(payload);
    if (!reader.refill() || reader.pull(0 - bits) != 0 || reader.overrun())
        return std::nullopt;
    return reader;
}

/// One step of an automaton: the value of the state, and the state after it.
inline std::uint32_t readValue(std::span<const ValueEntry> table, std::uint32_t& state, BackwardBitReader& bits)
{
    const ValueEntry entry = table[state];
    const std::uint32_t field = bits.pull(entry.bits);
    state = static_cast<std::uint32_t>(entry.delta) + (field >> entry.extraBits);
    return entry.base + (field & ((1U << entry.extraBits) - 1));
}

std::array<std::uint32_t, literalLanes> statesOf(const EntropyHeader& header)
{
    std::array<std::uint32_t, literalLanes> states;
    std::copy(header.literalState.begin(), header.literalState.end(), states.begin());
    return states;
}

} // namespace

bool EntropyReader::makeTables(const EntropyHeader& header)
{
    std::array<std::uint16_t, allSymbols> frequencies;
    std::copy(header.frequencies.begin(), header.frequencies.end(), frequencies.begin());
    Frequencies rest = frequencies;
    const auto next = [&rest](std::size_t count) {
        const Frequencies part = rest.first(count);
        rest = rest.subspan(count);
        return part;
    };
    const auto counts = makeDecoderTable(next(literalCountSymbols), literalCountValues, literalCountTable_);
    const auto lengths = makeDecoderTable(next(lengthSymbols), lengthValues, lengthTable_);
    const auto distances = makeDecoderTable(next(distanceSymbols), distanceValues, distanceTable_);
    const auto literals = makeDecoderTable(next(literalSymbols), literalTable_);
    if (!counts || !lengths || !distances || !literals)
        return false;
    usedLiteralCountStates_ = *counts;
    usedLengthStates_ = *lengths;
    usedDistanceStates_ = *distances;
    usedLiteralStates_ = *literals;
    return true;
}

bool EntropyReader::readLiterals(const EntropyHeader& header, DataView payload)
{
    auto bits = readerOf(payload, header.literalBits);
    if (!bits)
        return false;
    static_assert(literalLanes == 4);
    auto [state0, state1, state2, state3] = statesOf(header);
    const auto next = [this, &bits](std::uint32_t& state) {
        const LiteralEntry entry = literalTable_[state];
        state = static_cast<std::uint32_t>(entry.delta) + bits->pull(entry.bits);
        return entry.symbol;
    };
    literalCount_ = header.literalCount;
    std::uint8_t* const end = literals_.data() + literalCount_;
    for (std::uint8_t* to = literals_.data(); to != end; to += literalLanes) {
        if (!bits->refill())
            return false;
        to[0] = next(state0);
        to[1] = next(state1);
        to[2] = next(state2);
        to[3] = next(state3);
    }
    return literalCount_ == 0 || (!bits->overrun() && std::max({state0, state1, state2, state3}) < usedLiteralStates_);
}

bool EntropyReader::begin(const EntropyHeader& header, const std::uint8_t* payload)
{
    const DataView literals(payload, header.literalPayloadSize);
    const DataView matches(payload + literals.size(), header.matchPayloadSize);
    if (!makeTables(header) || !readLiterals(header, literals))
        return false;
    const auto bits = readerOf(matches, header.matchBits);
    if (!bits)
        return false;
    progress_ = {*bits, header.literalCountState, header.lengthState, header.distanceState,
                 0,     header.matchCount,        header.plainSize,   literalCount_};
    return progress_.matchesLeft > 0 || progress_.plainLeft == 0;
}

EntropyReader::Result EntropyReader::decode(SlidingWindow& window)
{
    if (progress_.matchesLeft == 0)
        return Result::done; // a block of nothing, whose automata need not have states
    // Copies, of which the compiler knows that the bytes put out do not lie in them.
    Progress at = progress_;
    const std::uint8_t* literal = literals_.data() + literalCount_ - at.literalsLeft;
    const std::uint8_t* const literalsEnd = literals_.data() + literalCount_;
    const std::uint8_t* const oldest = window.history();
    std::uint8_t* const start = window.next();
    std::uint8_t* to = start;
    const std::uint8_t* const stop = start + SlidingWindow::batch;
    const std::uint8_t* const end = start + std::min<std::size_t>(at.plainLeft, room);
    for (; at.matchesLeft > 0 && to < stop; --at.matchesLeft) {
        if (!at.bits.refill())
            return Result::damaged;
        const std::uint32_t literals = readValue(literalCountTable_, at.literalCountState, at.bits);
        const std::uint32_t length = readValue(lengthTable_, at.lengthState, at.bits);
        const std::uint32_t distance = readValue(distanceTable_, at.distanceState, at.bits);
        at.distance = distance != 0 ? distance : at.distance;
        if (literals > literalsEnd - literal || literals + length > end - to)
            return Result::damaged;
        copyInSteps<16>(to, literal, literals);
        literal += literals;
        to += literals;
        if (std::size_t{at.distance} - 1 < static_cast<std::size_t>(to - oldest))
            repeatBytes(to, at.distance, length);
        else if (length > 0)
            return Result::damaged;
        to += length;
    }
    at.plainLeft -= static_cast<std::uint32_t>(to - start);
    at.literalsLeft = static_cast<std::uint32_t>(literalsEnd - literal);
    progress_ = at;
    window.grow(static_cast<std::size_t>(to - start));
    if (at.matchesLeft > 0)
        return Result::more;
    return isWholesome() ? Result::done : Result::damaged;
}

bool EntropyReader::isWholesome() const
{
    return progress_.plainLeft == 0 && !progress_.bits.overrun() &&
           progress_.literalCountState < usedLiteralCountStates_ && progress_.lengthState < usedLengthStates_ &&
           progress_.distanceState < usedDistanceStates_;
}

} // namespace vantorel::system::compression::lzfse
