// SPDX-License-Identifier: GPL-2.0-or-later
#include "Lzvn.h"

#include <algorithm>
#include <array>

namespace vantorel::system::compression::lzfse {

namespace {

constexpr std::array<std::uint8_t, 8> endOpcode = {0x06};

/// The most bytes an opcode has with its literals.
constexpr std::size_t longestOpcode = 2 + 271;

constexpr std::uint8_t manyBase = 16; ///< added to the byte of the forms with many literals or a long match
constexpr std::uint32_t mostMany = manyBase + 255;
constexpr std::uint8_t shortestMatch = 3; ///< added to the length field of the forms that have a distance

/// What the first byte of an opcode tells. Each of the three numbers is what stands here and some bits of the pair of
/// bytes that follows.
struct Opcode {
    std::uint8_t size = 0; ///< without the literals; 0: there is no such opcode
    std::uint8_t literals = 0;
    std::uint8_t literalsMask = 0;
    std::uint8_t length = 0;
    std::uint8_t lengthMask = 0;
    std::uint8_t distanceShift = 0;
    std::uint16_t distance = 0;
    std::uint16_t distanceMask = 0; ///< 0: the distance is that of the match before
};

constexpr Opcode opcodeOf(std::uint8_t first)
{
    const auto high = static_cast<std::uint8_t>(first >> 6);
    const auto middle = static_cast<std::uint8_t>((first >> 3 & 7) + shortestMatch);
    const auto low = static_cast<std::uint8_t>(first & 15);
    if (first == 0xf0) // a long match at the distance before
        return {.size = 2, .length = manyBase, .lengthMask = 0xff};
    if (first > 0xf0) // a short one
        return {.size = 1, .length = low};
    if (first == 0xe0) // many literals
        return {.size = 2, .literals = manyBase, .literalsMask = 0xff};
    if (first > 0xe0) // a few
        return {.size = 1, .literals = low};
    if (first >= 0xd0 || (first >= 0x70 && first < 0x80))
        return {};
    if (first >= 0xa0 && first < 0xc0) // 101LLMMM and a pair: 14 bits of distance above 2 of length
        return {.size = 3,
                .literals = static_cast<std::uint8_t>(first >> 3 & 3),
                .length = static_cast<std::uint8_t>((first & 7) * 4 + shortestMatch),
                .lengthMask = 3,
                .distanceShift = 2,
                .distanceMask = 0x3fff};
    if ((first & 7) == 7) // LLMMM111 and a pair of distance
        return {.size = 3, .literals = high, .length = middle, .distanceMask = 0xffff};
    if ((first & 7) != 6) // LLMMMDDD DDDDDDDD
        return {.size = 2,
                .literals = high,
                .length = middle,
                .distance = static_cast<std::uint16_t>((first & 7) << 8),
                .distanceMask = 0xff};
    if (first >= 0x40) // LLMMM110, the distance before
        return {.size = 1, .literals = high, .length = middle};
    if (first == 0x0e || first == 0x16) // nothing at all
        return {.size = 1};
    return {};
}

constexpr std::array<Opcode, 256> opcodes = [] {
    std::array<Opcode, 256> table{};
    for (std::size_t first = 0; first < table.size(); ++first)
        table[first] = opcodeOf(static_cast<std::uint8_t>(first));
    return table;
}();

} // namespace

void LzvnReader::begin(std::uint32_t plainSize, std::uint32_t payloadSize)
{
    plainLeft_ = plainSize;
    payloadLeft_ = payloadSize;
    distance_ = 0;
}

LzvnReader::Result LzvnReader::decode(compression_stream& stream, Gathered& gathered, SlidingWindow& window)
{
    const bool isWhole = gathered.empty() && stream.src_size >= payloadLeft_;
    if (!isWhole && !gathered.gather(stream, std::min<std::size_t>(payloadLeft_, 4096)))
        return Result::starved;
    const DataView bytes = isWhole ? DataView(stream.src_ptr, payloadLeft_) : gathered.view();
    std::size_t used = 0;
    const Result result = decodeOpcodes(bytes, window, used);
    if (isWhole)
        passSource(stream, used);
    else
        gathered.drop(used);
    payloadLeft_ -= static_cast<std::uint32_t>(used);
    if (result == Result::done && (payloadLeft_ > 0 || plainLeft_ > 0))
        return Result::damaged;
    return result;
}

LzvnReader::Result LzvnReader::decodeOpcodes(DataView bytes, SlidingWindow& window, std::size_t& used)
{
    // Copies of the members, of which the compiler knows that the bytes put out do not lie in them.
    std::uint32_t distance = distance_;
    const std::uint8_t* const oldest = window.history();
    std::uint8_t* const start = window.next();
    std::uint8_t* to = start;
    const std::uint8_t* const stop = start + SlidingWindow::batch;
    const std::uint8_t* const end = start + std::min<std::size_t>(plainLeft_, room);
    const bool isAll = bytes.size() == payloadLeft_;
    Result result = Result::more;
    DataView rest = bytes;
    while (to < stop && (isAll || rest.size() >= longestOpcode)) {
        // No opcode is longer than the end opcode that has to follow, so that each may be read without further looks.
        if (rest.size() < endOpcode.size())
            return Result::damaged;
        if (rest[0] == endOpcode[0]) {
            if (!std::equal(endOpcode.begin(), endOpcode.end(), rest.begin()))
                return Result::damaged;
            rest = rest.subspan(endOpcode.size());
            result = Result::done;
            break;
        }
        const Opcode opcode = opcodes[rest[0]];
        const std::uint32_t pair = rest[1] | std::uint32_t{rest[2]} << 8;
        const std::uint32_t literals = opcode.literals + (pair & opcode.literalsMask);
        const std::uint32_t length = opcode.length + (pair & opcode.lengthMask);
        const std::uint32_t spelled = opcode.distance + (pair >> opcode.distanceShift & opcode.distanceMask);
        if (opcode.size == 0 || literals > rest.size() - opcode.size || literals + length > end - to ||
            (opcode.distanceMask != 0 && spelled == 0))
            return Result::damaged;
        rest = rest.subspan(opcode.size);
        if (rest.size() >= literals + 16)
            copyInSteps<16>(to, rest.data(), literals);
        else
            std::memcpy(to, rest.data(), literals);
        rest = rest.subspan(literals);
        to += literals;
        distance = spelled != 0 ? spelled : distance;
        if (std::size_t{distance} - 1 < static_cast<std::size_t>(to - oldest))
            repeatBytes(to, distance, length);
        else if (length > 0)
            return Result::damaged;
        to += length;
    }
    distance_ = distance;
    used = bytes.size() - rest.size();
    plainLeft_ -= static_cast<std::uint32_t>(to - start);
    window.grow(static_cast<std::size_t>(to - start));
    return result;
}

namespace {

/// Puts opcodes together.
class LzvnWriter {
public:
    explicit LzvnWriter(Outgoing& out) : out_(out) {}

    /// False when the room may not do.
    bool write(const Match& match, const std::uint8_t* literals)
    {
        // In the worst case: a byte of opcode for 3 literals, and as many bytes for a match as it has.
        if (out_.room() < 2 * (std::size_t{match.literals} + match.length) + longestOpcode)
            return false;
        std::uint32_t left = match.literals;
        while (left > 3) {
            const std::uint32_t run = std::min(left, mostMany);
            literals = writeLiterals(literals, run);
            left -= run;
        }
        if (match.length == 0) {
            if (left > 0)
                writeLiterals(literals, left);
            return true;
        }
        writeMatch(match, literals, left);
        return true;
    }

private:
    void put(std::uint32_t byte) { out_.append(static_cast<std::uint8_t>(byte)); }

    void putPair(std::uint32_t pair) { out_.append(le16(static_cast<std::uint16_t>(pair))); }

    const std::uint8_t* writeLiterals(const std::uint8_t* literals, std::uint32_t count)
    {
        if (count < manyBase) {
            put(0xe0 | count);
        } else {
            put(0xe0);
            put(count - manyBase);
        }
        out_.append(literals, count);
        return literals + count;
    }

    /// A match with up to 3 literals before it.
    void writeMatch(const Match& match, const std::uint8_t* literals, std::uint32_t count)
    {
        const bool sameDistance = match.distance == distance_;
        // The forms with both fields leave less room for the length the more literals there are.
        std::uint32_t length = std::min<std::uint32_t>(match.length, 10 - 2 * count);
        const std::uint32_t fields = count << 6 | (length - shortestMatch) << 3;
        if (sameDistance && count == 0) {
            length = 0; // all of it below
        } else if (sameDistance) {
            put(fields | 6);
        } else if (match.distance < 0x600) {
            put(fields | match.distance >> 8);
            put(match.distance & 0xff);
        } else if (match.distance < 0x4000) {
            length = std::min<std::uint32_t>(match.length, shortestMatch + 31);
            const std::uint32_t field = length - shortestMatch;
            put(0xa0 | count << 3 | field >> 2);
            putPair(match.distance << 2 | (field & 3));
        } else {
            put(fields | 7);
            putPair(match.distance);
        }
        out_.append(literals, count);
        distance_ = match.distance;
        for (std::uint32_t left = match.length - length; left > 0; left -= length) {
            length = std::min(left, mostMany);
            if (length < manyBase) {
                put(0xf0 | length);
            } else {
                put(0xf0);
                put(length - manyBase);
            }
        }
    }

    Outgoing& out_;
    std::uint32_t distance_ = 0; ///< of the match before
};

} // namespace

bool writeLzvn(std::span<const Match> matches, const std::uint8_t* literals, Outgoing& out)
{
    LzvnWriter writer(out);
    for (const Match& match : matches) {
        if (!writer.write(match, literals))
            return false;
        literals += match.literals;
    }
    out.append(endOpcode.data(), endOpcode.size());
    return true;
}

} // namespace vantorel::system::compression::lzfse
