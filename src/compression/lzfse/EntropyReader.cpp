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
    std::array<std::uint32_t, literalLanes> states;
    std::copy(header.literalState.begin(), header.literalState.end(), states.begin());
    literalCount_ = header.literalCount;
    for (std::uint32_t i = 0; i < literalCount_; i += literalLanes) {
        if (!bits->refill())
            return false;
        for (std::size_t lane = 0; lane < literalLanes; ++lane) {
            const LiteralEntry entry = literalTable_[states[lane]];
            literals_[i + lane] = entry.symbol;
            states[lane] = static_cast<std::uint32_t>(entry.delta) + bits->pull(entry.bits);
        }
    }
    return literalCount_ == 0 ||
           (!bits->overrun() &&
            std::all_of(states.begin(), states.end(), [&](std::uint32_t state) { return state < usedLiteralStates_; }));
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
    bits_ = *bits;
    literalCountState_ = header.literalCountState;
    lengthState_ = header.lengthState;
    distanceState_ = header.distanceState;
    distance_ = 0;
    matchesLeft_ = header.matchCount;
    plainLeft_ = header.plainSize;
    nextLiteral_ = 0;
    return matchesLeft_ > 0 || plainLeft_ == 0;
}

EntropyReader::Result EntropyReader::decode(SlidingWindow& window)
{
    if (matchesLeft_ == 0)
        return Result::done; // a block of nothing, whose automata need not have states
    BackwardBitReader bits = bits_;
    for (; matchesLeft_ > 0; --matchesLeft_) {
        if (window.pending() >= SlidingWindow::batch) {
            bits_ = bits;
            return Result::more;
        }
        if (!bits.refill())
            return Result::damaged;
        const std::uint32_t literals = readValue(literalCountTable_, literalCountState_, bits);
        const std::uint32_t length = readValue(lengthTable_, lengthState_, bits);
        const std::uint32_t distance = readValue(distanceTable_, distanceState_, bits);
        if (distance != 0)
            distance_ = distance;
        if (literals > literalCount_ - nextLiteral_ || literals + length > plainLeft_)
            return Result::damaged;
        window.appendFast(literals_.data() + nextLiteral_, literals);
        nextLiteral_ += literals;
        plainLeft_ -= literals + length;
        if (length == 0)
            continue;
        if (!window.reaches(distance_))
            return Result::damaged;
        window.copyMatch(distance_, length);
    }
    bits_ = bits;
    return isWholesome() ? Result::done : Result::damaged;
}

bool EntropyReader::isWholesome() const
{
    return plainLeft_ == 0 && !bits_.overrun() && literalCountState_ < usedLiteralCountStates_ &&
           lengthState_ < usedLengthStates_ && distanceState_ < usedDistanceStates_;
}

} // namespace vantorel::system::compression::lzfse
