// SPDX-License-Identifier: GPL-2.0-or-later
#include "EntropyHeader.h"

#include <algorithm>

namespace vantorel::system::compression::lzfse {

namespace {

/// A bit field of the packed header.
struct Field {
    unsigned word;
    unsigned shift;
    unsigned width;
};

constexpr Field literalCountField{0, 0, 20};
constexpr Field literalPayloadSizeField{0, 20, 20};
constexpr Field matchCountField{0, 40, 20};
constexpr Field literalBitsField{0, 60, 3};
constexpr std::array<Field, literalLanes> literalStateFields{{{1, 0, 10}, {1, 10, 10}, {1, 20, 10}, {1, 30, 10}}};
constexpr Field matchPayloadSizeField{1, 40, 20};
constexpr Field matchBitsField{1, 60, 3};
constexpr Field headerSizeField{2, 0, 32};
constexpr Field literalCountStateField{2, 32, 10};
constexpr Field lengthStateField{2, 42, 10};
constexpr Field distanceStateField{2, 52, 10};

std::uint32_t get(const PackedHeader& header, Field field)
{
    const std::uint64_t word = header.fields[field.word];
    return static_cast<std::uint32_t>(word >> field.shift & ((std::uint64_t{1} << field.width) - 1));
}

void put(PackedHeader& header, Field field, std::uint64_t value)
{
    le64& word = header.fields[field.word];
    word = word | value << field.shift;
}

/// Bit counts are stored as 7 more than they are.
constexpr std::uint32_t bitsBias = 7;

/// How a frequency is written: the lowest bits tell which form, the others how much the value lies above `base`.
struct Code {
    std::uint8_t prefix;
    std::uint8_t prefixBits;
    std::uint8_t valueBits;
    std::uint16_t base;
};

constexpr std::array<Code, 7> codes{{
    {0b00, 2, 0, 0},
    {0b10, 2, 0, 1},
    {0b001, 3, 0, 2},
    {0b101, 3, 0, 3},
    {0b011, 3, 2, 4},
    {0b0111, 4, 4, 8},
    {0b1111, 4, 10, 24},
}};
constexpr unsigned longestCode = 14;

const Code& codeOf(std::uint16_t frequency)
{
    const auto behind =
        std::find_if(codes.begin(), codes.end(), [&](const Code& code) { return code.base > frequency; });
    return *std::prev(behind);
}

/// The code that the lowest four bits begin, or are.
constexpr auto codeAt = [] {
    std::array<Code, 16> table{};
    for (std::size_t bits = 0; bits < table.size(); ++bits)
        table[bits] = *std::find_if(codes.begin(), codes.end(), [&](const Code& code) {
            return (bits & ((1U << code.prefixBits) - 1)) == code.prefix;
        });
    return table;
}();

/// Absent unless exactly the bits of the frequencies are there, and at most 7 more.
bool unpackFrequencies(DataView packed, std::array<le16, allSymbols>& frequencies)
{
    std::uint64_t bits = 0;
    unsigned count = 0;
    for (le16& frequency : frequencies) {
        for (; count < longestCode && !packed.empty(); packed = packed.subspan(1), count += 8)
            bits |= std::uint64_t{packed[0]} << count;
        const Code& code = codeAt[bits & 15];
        const unsigned length = code.prefixBits + code.valueBits;
        if (length > count)
            return false;
        const std::uint64_t value = bits >> code.prefixBits & ((1U << code.valueBits) - 1);
        frequency = static_cast<std::uint16_t>(code.base + value);
        bits >>= length;
        count -= length;
    }
    return packed.empty() && count < 8;
}

bool isBitCount(std::uint32_t bits)
{
    return bits + bitsBias <= bitsBias;
}

} // namespace

std::optional<std::size_t> packedSize(const PackedHeader& header)
{
    const std::size_t size = get(header, headerSizeField);
    if (size < sizeof header || size > maxPackedHeaderSize)
        return std::nullopt;
    return size;
}

std::uint32_t payloadSize(const PackedHeader& header)
{
    return get(header, literalPayloadSizeField) + get(header, matchPayloadSizeField);
}

std::optional<EntropyHeader> unpack(DataView packed)
{
    const auto source = readRecord<PackedHeader>(packed);
    if (!source)
        return std::nullopt;
    EntropyHeader header{};
    header.magic = source->magic;
    header.plainSize = source->plainSize;
    header.literalCount = get(*source, literalCountField);
    header.matchCount = get(*source, matchCountField);
    header.literalPayloadSize = get(*source, literalPayloadSizeField);
    header.matchPayloadSize = get(*source, matchPayloadSizeField);
    header.payloadSize = payloadSize(*source);
    header.literalBits = get(*source, literalBitsField) - bitsBias;
    header.matchBits = get(*source, matchBitsField) - bitsBias;
    for (std::size_t lane = 0; lane < literalLanes; ++lane)
        header.literalState[lane] = static_cast<std::uint16_t>(get(*source, literalStateFields[lane]));
    header.literalCountState = static_cast<std::uint16_t>(get(*source, literalCountStateField));
    header.lengthState = static_cast<std::uint16_t>(get(*source, lengthStateField));
    header.distanceState = static_cast<std::uint16_t>(get(*source, distanceStateField));

    // A header without frequencies has none but zeros.
    const DataView frequencies = packed.subspan(sizeof(PackedHeader));
    if (!frequencies.empty() && !unpackFrequencies(frequencies, header.frequencies))
        return std::nullopt;
    return header;
}

bool isPlausible(const EntropyHeader& header)
{
    return header.literalCount <= maxLiterals && header.literalCount % literalLanes == 0 &&
           header.matchCount <= maxMatches && header.literalPayloadSize <= maxLiteralPayload &&
           header.matchPayloadSize <= maxMatchPayload &&
           header.payloadSize == header.literalPayloadSize + header.matchPayloadSize &&
           isBitCount(header.literalBits) && isBitCount(header.matchBits) &&
           std::all_of(header.literalState.begin(), header.literalState.end(),
                       [](std::uint16_t state) { return state < literalStates; }) &&
           header.literalCountState < literalCountStates && header.lengthState < lengthStates &&
           header.distanceState < distanceStates;
}

std::size_t packFrequencies(Frequencies frequencies, std::uint8_t* to)
{
    BitWriter writer(to);
    for (const std::uint16_t frequency : frequencies) {
        const Code& code = codeOf(frequency);
        writer.push(code.prefix, code.prefixBits);
        writer.push(static_cast<std::uint64_t>(frequency - code.base), code.valueBits);
        writer.flush();
    }
    writer.finish();
    return static_cast<std::size_t>(writer.next() - to);
}

PackedHeader pack(const EntropyHeader& header, std::size_t frequencySize)
{
    PackedHeader packed{};
    packed.magic = packedEntropyMagic;
    packed.plainSize = header.plainSize;
    put(packed, literalCountField, header.literalCount);
    put(packed, literalPayloadSizeField, header.literalPayloadSize);
    put(packed, matchCountField, header.matchCount);
    put(packed, literalBitsField, header.literalBits + bitsBias);
    for (std::size_t lane = 0; lane < literalLanes; ++lane)
        put(packed, literalStateFields[lane], header.literalState[lane]);
    put(packed, matchPayloadSizeField, header.matchPayloadSize);
    put(packed, matchBitsField, header.matchBits + bitsBias);
    put(packed, headerSizeField, sizeof packed + frequencySize);
    put(packed, literalCountStateField, header.literalCountState);
    put(packed, lengthStateField, header.lengthState);
    put(packed, distanceStateField, header.distanceState);
    return packed;
}

} // namespace vantorel::system::compression::lzfse
