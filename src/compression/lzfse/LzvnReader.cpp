// SPDX-License-Identifier: GPL-2.0-or-later
#include "LzvnReader.h"

#include "Lzvn.h"

#include <algorithm>
#include <array>

namespace vantorel::system::compression::lzfse {

namespace {

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
    const auto middle = static_cast<std::uint8_t>((first >> 3 & 7) + lzvnShortest);
    const auto low = static_cast<std::uint8_t>(first & 15);
    if (first == 0xf0) // a long match at the distance before
        return {.size = 2, .length = lzvnManyBase, .lengthMask = 0xff};
    if (first > 0xf0) // a short one
        return {.size = 1, .length = low};
    if (first == 0xe0) // many literals
        return {.size = 2, .literals = lzvnManyBase, .literalsMask = 0xff};
    if (first > 0xe0) // a few
        return {.size = 1, .literals = low};
    if (first >= 0xd0 || (first >= 0x70 && first < 0x80))
        return {};
    if (first >= 0xa0 && first < 0xc0) // 101LLMMM and a pair: 14 bits of distance above 2 of length
        return {.size = 3,
                .literals = static_cast<std::uint8_t>(first >> 3 & 3),
                .length = static_cast<std::uint8_t>((first & 7) * 4 + lzvnShortest),
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
    while (to < stop && (isAll || rest.size() >= lzvnLongest)) {
        // No opcode is longer than the end opcode that has to follow, so that each may be read without further looks.
        if (rest.size() < lzvnEnd.size())
            return Result::damaged;
        if (rest[0] == lzvnEnd[0]) {
            if (!std::equal(lzvnEnd.begin(), lzvnEnd.end(), rest.begin()))
                return Result::damaged;
            rest = rest.subspan(lzvnEnd.size());
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

} // namespace vantorel::system::compression::lzfse
