// SPDX-License-Identifier: GPL-2.0-or-later
#include "Lzvn.h"

#include <algorithm>
#include <array>

namespace vantorel::system::compression::lzfse {

namespace {

enum class Form : std::uint8_t {
    shortDistance,    ///< LLMMMDDD DDDDDDDD, the distance's high bits 0 to 5
    longDistance,     ///< LLMMM111 and two bytes of distance
    mediumDistance,   ///< 101LLMMM and two bytes: 14 bits of distance above 2 of length
    previousDistance, ///< LLMMM110
    literals,         ///< 1110LLLL
    manyLiterals,     ///< 11100000 and a byte
    match,            ///< 1111MMMM, previous distance
    longMatch,        ///< 11110000 and a byte, previous distance
    nothing,
    end, ///< 00000110 and seven zero bytes
    undefined,
};

/// What the first byte of an opcode tells.
constexpr Form formOf(std::uint8_t first)
{
    if (first >= 0xf0)
        return first == 0xf0 ? Form::longMatch : Form::match;
    if (first >= 0xe0)
        return first == 0xe0 ? Form::manyLiterals : Form::literals;
    if (first >= 0xd0 || (first >= 0x70 && first < 0x80))
        return Form::undefined;
    if (first >= 0xa0 && first < 0xc0)
        return Form::mediumDistance;
    if ((first & 7) == 7)
        return Form::longDistance;
    if ((first & 7) != 6)
        return Form::shortDistance;
    if (first >= 0x40)
        return Form::previousDistance;
    if (first == 0x06)
        return Form::end;
    return first == 0x0e || first == 0x16 ? Form::nothing : Form::undefined;
}

constexpr std::array<Form, 256> forms = [] {
    std::array<Form, 256> table{};
    for (std::size_t first = 0; first < table.size(); ++first)
        table[first] = formOf(static_cast<std::uint8_t>(first));
    return table;
}();

constexpr std::array<std::uint8_t, 8> endOpcode = {0x06};

/// The most bytes an opcode has with its literals.
constexpr std::size_t longestOpcode = 2 + 271;

constexpr std::uint32_t manyBase = 16; ///< added to the byte of the forms with many literals or a long match
constexpr std::uint32_t mostMany = manyBase + 255;
constexpr std::uint32_t shortestMatch = 3; ///< added to the length field of the forms that have a distance

struct Opcode {
    std::size_t size = 1; ///< without the literals
    std::uint32_t literals = 0;
    std::uint32_t length = 0;
    std::uint32_t distance = 0; ///< 0: as before
};

/// Reads an opcode that is none of end, nothing and undefined. `bytes` has at least 3.
Opcode readOpcode(Form form, const std::uint8_t* bytes)
{
    const std::uint32_t first = bytes[0];
    const std::uint32_t second = bytes[1];
    const std::uint32_t pair = second | static_cast<std::uint32_t>(bytes[2]) << 8;
    const std::uint32_t literals = first >> 6;
    const std::uint32_t length = (first >> 3 & 7) + shortestMatch;
    switch (form) {
    case Form::shortDistance:
        return {2, literals, length, (first & 7) << 8 | second};
    case Form::longDistance:
        return {3, literals, length, pair};
    case Form::mediumDistance:
        return {3, first >> 3 & 3, ((first & 7) << 2 | (pair & 3)) + shortestMatch, pair >> 2};
    case Form::previousDistance:
        return {1, literals, length, 0};
    case Form::literals:
        return {1, first & 15, 0, 0};
    case Form::manyLiterals:
        return {2, second + manyBase, 0, 0};
    case Form::match:
        return {1, 0, first & 15, 0};
    default: // longMatch
        return {2, 0, second + manyBase, 0};
    }
}

/// A distance that is spelled out must not be 0, which would read as "as before".
bool spellsDistance(Form form)
{
    return form == Form::shortDistance || form == Form::longDistance || form == Form::mediumDistance;
}

} // namespace

void LzvnReader::begin(std::uint32_t plainSize, std::uint32_t payloadSize)
{
    plainLeft_ = plainSize;
    payloadLeft_ = payloadSize;
    distance_ = 0;
}

LzvnReader::Result LzvnReader::decode(compression_stream& stream, Gathered& gathered, SlidingWindow& window)
{
    if (!gathered.gather(stream, std::min<std::size_t>(payloadLeft_, 4096)))
        return Result::starved;
    std::size_t used = 0;
    const Result result = decodeGathered(gathered.view(), window, used);
    gathered.drop(used);
    payloadLeft_ -= static_cast<std::uint32_t>(used);
    if (result == Result::done && payloadLeft_ > 0)
        return Result::damaged;
    return result;
}

LzvnReader::Result LzvnReader::decodeGathered(DataView bytes, SlidingWindow& window, std::size_t& used)
{
    while (window.pending() < SlidingWindow::batch) {
        const DataView rest = bytes.subspan(used);
        if (rest.size() < longestOpcode && rest.size() < payloadLeft_ - used)
            return Result::more;
        // No opcode is longer than the end opcode that has to follow, so that each may be read without further looks.
        if (rest.size() < endOpcode.size())
            return Result::damaged;
        const Form form = forms[rest[0]];
        if (form == Form::undefined)
            return Result::damaged;
        if (form == Form::end) {
            used += endOpcode.size();
            const bool whole = std::equal(endOpcode.begin(), endOpcode.end(), rest.begin()) && plainLeft_ == 0;
            return whole ? Result::done : Result::damaged;
        }
        if (form == Form::nothing) {
            ++used;
            continue;
        }
        const Opcode opcode = readOpcode(form, rest.data());
        if (opcode.literals > rest.size() - opcode.size || opcode.literals + opcode.length > plainLeft_ ||
            (spellsDistance(form) && opcode.distance == 0))
            return Result::damaged;
        window.append(rest.data() + opcode.size, opcode.literals);
        if (opcode.distance != 0)
            distance_ = opcode.distance;
        if (opcode.length > 0) {
            if (!window.reaches(distance_))
                return Result::damaged;
            window.copyMatch(distance_, opcode.length);
        }
        plainLeft_ -= opcode.literals + opcode.length;
        used += opcode.size + opcode.literals;
    }
    return Result::more;
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
