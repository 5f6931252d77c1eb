// SPDX-License-Identifier: GPL-2.0-or-later
#include "LzvnReader.h"

#include "Lzvn.h"
#include "compression/Load.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vantorel::system::compression::lzfse {

namespace {

/// What the first byte of an opcode tells. Each of the three numbers is what stands here and some bits of the pair of
/// bytes that follows. Aligned, since the way to an entry is a part of the way from one opcode to the next.
struct alignas(16) Opcode {
    std::uint8_t size = 0; ///< without the literals; 0: there is no such opcode
    std::uint8_t step = 0; ///< with the literals that stand here
    std::uint8_t literals = 0;
    bool manyLiterals = false; ///< as many more as the byte that follows says
    std::uint8_t length = 0;
    std::uint8_t lengthMask = 0;
    std::uint8_t distanceShift = 0;
    std::uint16_t distance = 0;
    std::uint16_t distanceMask = 0;
    std::uint32_t keptDistance = ~0U; ///< what stays of the distance before: all bits of it or none
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
        return {.size = 2, .literals = lzvnManyBase, .manyLiterals = true};
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
                .distanceMask = 0x3fff,
                .keptDistance = 0};
    if ((first & 7) == 7) // LLMMM111 and a pair of distance
        return {.size = 3, .literals = high, .length = middle, .distanceMask = 0xffff, .keptDistance = 0};
    if ((first & 7) != 6) // LLMMMDDD DDDDDDDD
        return {.size = 2,
                .literals = high,
                .length = middle,
                .distance = static_cast<std::uint16_t>((first & 7) << 8),
                .distanceMask = 0xff,
                .keptDistance = 0};
    if (first >= 0x40) // LLMMM110, the distance before
        return {.size = 1, .literals = high, .length = middle};
    if (first == 0x0e || first == 0x16) // nothing at all
        return {.size = 1};
    return {};
}

constexpr std::array<Opcode, 256> opcodes = [] {
    std::array<Opcode, 256> table{};
    for (std::size_t first = 0; first < table.size(); ++first) {
        table[first] = opcodeOf(static_cast<std::uint8_t>(first));
        table[first].step = static_cast<std::uint8_t>(table[first].size + table[first].literals);
    }
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
    const std::uint8_t* in = bytes.data();
    const std::uint8_t* const inEnd = in + bytes.size();
    const bool isAll = bytes.size() == payloadLeft_;
    // No opcode without its literals is longer than the end opcode that has to follow.
    const auto needed = static_cast<std::ptrdiff_t>(isAll ? lzvnEnd.size() : lzvnLongest);
    Result result = Result::more;
    while (to < stop) {
        if (inEnd - in < needed) {
            if (isAll)
                return Result::damaged;
            break;
        }
        const Opcode& opcode = opcodes[in[0]];
        if (opcode.size == 0) {
            if (!std::equal(lzvnEnd.begin(), lzvnEnd.end(), in))
                return Result::damaged;
            in += lzvnEnd.size();
            result = Result::done;
            break;
        }
        const std::uint32_t pair = load16(in + 1);
        const std::uint8_t* const from = in + opcode.size;
        std::uint32_t literals = opcode.literals;
        std::uint32_t step = opcode.step;
        if (opcode.manyLiterals) [[unlikely]] {
            literals += pair & 0xff;
            step += pair & 0xff;
        }
        const std::uint32_t length = opcode.length + (pair & opcode.lengthMask);
        distance &= opcode.keptDistance;
        distance += opcode.distance + (pair >> opcode.distanceShift & opcode.distanceMask);
        if (step > inEnd - in || literals + length > end - to)
            return Result::damaged;
        in += step;
        if (inEnd - in >= 16)
            copyInSteps<16>(to, from, literals);
        else
            std::memcpy(to, from, literals);
        to += literals;
        if (std::size_t{distance} - 1 < static_cast<std::size_t>(to - oldest))
            repeatBytes(to, distance, length);
        else if (length > 0)
            return Result::damaged;
        to += length;
    }
    distance_ = distance;
    used = static_cast<std::size_t>(in - bytes.data());
    plainLeft_ -= static_cast<std::uint32_t>(to - start);
    window.grow(static_cast<std::size_t>(to - start));
    return result;
}

} // namespace vantorel::system::compression::lzfse
