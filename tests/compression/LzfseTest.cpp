// SPDX-License-Identifier: GPL-2.0-or-later
#include "compression/lzfse/EntropyHeader.h"

#include "support/StreamPump.h"
#include "support/TestData.h"

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <numeric>
#include <random>

namespace vantorel::system::compression::lzfse {
namespace {

using test::pump;
using test::readTestData;

std::optional<Data> expand(DataView stream)
{
    return pump(COMPRESSION_STREAM_DECODE, COMPRESSION_LZFSE, stream, 1000, 1000);
}

Data compress(DataView plain)
{
    return *pump(COMPRESSION_STREAM_ENCODE, COMPRESSION_LZFSE, plain, 4096, 4096);
}

std::uint32_t magicOf(const Data& stream)
{
    return *readRecord<le32>(stream);
}

Data joined(std::initializer_list<DataView> parts)
{
    Data bytes;
    for (const DataView part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

const Data end = recordBytes(le32(endMagic));

TEST(Lzfse, ReadsForeignStreamsAndWritesNoLargerOnes)
{
    for (const std::string name : {"tiny.txt", "short.txt", "sectors.bin", "noise.bin", "table.tsv", "zeros.bin"}) {
        const Data plain = name == "zeros.bin" ? Data(100'000) : readTestData("lzfse/" + name);
        const Data foreign = readTestData("lzfse/" + name + ".lzfse");
        EXPECT_EQ(expand(foreign), plain) << name;
        const Data ours = compress(plain);
        EXPECT_EQ(expand(ours), plain) << name;
        EXPECT_LE(ours.size(), foreign.size() + foreign.size() / 50) << name;
    }
}

TEST(Lzfse, TheKindOfBlockFollowsFromTheInput)
{
    const Data table = readTestData("lzfse/table.tsv");
    const Data noise = readTestData("lzfse/noise.bin");
    const auto start = [](const Data& bytes, std::size_t size) { return compress(DataView(bytes).first(size)); };
    EXPECT_EQ(magicOf(start(table, 7)), plainMagic);
    EXPECT_EQ(magicOf(start(table, 4095)), lzvnMagic);
    EXPECT_EQ(magicOf(start(table, 4096)), packedEntropyMagic);
    EXPECT_EQ(magicOf(start(noise, 4095)), plainMagic);
    EXPECT_EQ(magicOf(start(noise, 20'000)), plainMagic);
}

TEST(Lzfse, MatchesReachAcrossBlocksAsFarAsTheWindow)
{
    std::mt19937 random(3);
    Data noise(reach);
    for (std::uint8_t& byte : noise)
        byte = static_cast<std::uint8_t>(random());
    // From its second copy on everything lies just within reach, in other blocks of more than one kind.
    const Data plain = joined({noise, noise, readTestData("lzfse/table.tsv"), Data(500'000), noise});
    const Data packed = compress(plain);
    EXPECT_LT(packed.size(), 2 * noise.size() + 60'000);
    EXPECT_EQ(expand(packed), plain);
}

/// The stream of table.tsv has one packed block; these are its parts.
struct Sample {
    Data stream = readTestData("lzfse/table.tsv.lzfse");
    std::size_t headerSize = *packedSize(*readRecord<PackedHeader>(stream));
    EntropyHeader header = *unpack(DataView(stream).first(headerSize));
    DataView payload = DataView(stream).subspan(headerSize, header.payloadSize);

    /// With the header in unpacked form and changed.
    Data unpackedWith(const std::function<void(EntropyHeader&)>& change) const
    {
        EntropyHeader changed = header;
        changed.magic = entropyMagic;
        change(changed);
        return joined({recordBytes(changed), payload, end});
    }
};

TEST(Lzfse, BothFormsOfTheEntropyHeaderSayTheSame)
{
    const Sample sample;
    EXPECT_EQ(expand(sample.unpackedWith([](EntropyHeader&) {})), readTestData("lzfse/table.tsv"));

    std::array<std::uint16_t, allSymbols> frequencies;
    std::copy(sample.header.frequencies.begin(), sample.header.frequencies.end(), frequencies.begin());
    Data packed(maxPackedHeaderSize + 8);
    const std::size_t size = packFrequencies(frequencies, packed.data() + sizeof(PackedHeader));
    const PackedHeader header = pack(sample.header, size);
    std::memcpy(packed.data(), &header, sizeof header);
    packed.resize(sizeof header + size);
    EXPECT_TRUE(std::equal(packed.begin(), packed.end(), sample.stream.begin()));
    EXPECT_EQ(packed.size(), sample.headerSize);
}

TEST(Lzfse, EveryFrequencyIsReadAsItWasWritten)
{
    for (std::uint32_t first = 0; first < 1048; first += 37) {
        std::array<std::uint16_t, allSymbols> frequencies;
        for (std::uint32_t i = 0; i < allSymbols; ++i)
            frequencies[i] = static_cast<std::uint16_t>((first + i) % 1048);
        Data packed(maxPackedHeaderSize + 8);
        const std::size_t size = packFrequencies(frequencies, packed.data() + sizeof(PackedHeader));
        const auto header = unpack(DataView(packed).first(sizeof(PackedHeader) + size));
        ASSERT_TRUE(header);
        EXPECT_TRUE(std::equal(frequencies.begin(), frequencies.end(), header->frequencies.begin()));
        EXPECT_FALSE(unpack(DataView(packed).first(sizeof(PackedHeader) + size - 1))) << "cut off";
        EXPECT_FALSE(unpack(DataView(packed).first(sizeof(PackedHeader) + size + 1))) << "a byte too many";
    }
}

TEST(Lzfse, NormalisedFrequenciesFillTheStatesAndKeepEverySymbol)
{
    const std::initializer_list<std::vector<std::uint32_t>> counts = {
        {5}, {1, 1, 1}, {0, 40'000, 1, 0, 1}, std::vector<std::uint32_t>(64, 3), {1'000'000, 999'999, 1, 1, 1, 1}};
    for (std::vector<std::uint32_t> count : counts) {
        count.resize(64);
        std::vector<std::uint16_t> frequencies(count.size());
        for (const std::size_t states : {64U, 256U, 1024U}) {
            normalise(count, states, frequencies);
            EXPECT_EQ(std::accumulate(frequencies.begin(), frequencies.end(), 0U), states);
            for (std::size_t i = 0; i < count.size(); ++i)
                EXPECT_EQ(count[i] > 0, frequencies[i] > 0);
        }
    }
}

TEST(Lzfse, AnEntropyBlockOfNothingNeedsNoFrequencies)
{
    EntropyHeader header{};
    EXPECT_EQ(expand(joined({recordBytes(pack(header, 0)), end})), Data{});
    header.plainSize = 1;
    EXPECT_EQ(expand(joined({recordBytes(pack(header, 0)), end})), std::nullopt);
}

TEST(Lzfse, RefusesEntropyBlocksThatContradictThemselves)
{
    const Sample sample;
    using Change = std::function<void(EntropyHeader&)>;
    const std::initializer_list<std::pair<const char*, Change>> changes = {
        {"less plain bytes", [](auto& h) { h.plainSize = h.plainSize - 1; }},
        {"more plain bytes", [](auto& h) { h.plainSize = h.plainSize + 1; }},
        {"too many literals", [](auto& h) { h.literalCount = maxLiterals + 4; }},
        {"literals not in fours", [](auto& h) { h.literalCount = h.literalCount + 1; }},
        {"no literals", [](auto& h) { h.literalCount = 0; }},
        {"more literals than bits", [](auto& h) { h.literalCount = maxLiterals; }},
        {"too many matches", [](auto& h) { h.matchCount = maxMatches + 1; }},
        {"more matches than bits", [](auto& h) { h.matchCount = maxMatches; }},
        {"one match less", [](auto& h) { h.matchCount = h.matchCount - 1; }},
        {"a literal payload out of bounds", [](auto& h) { h.literalPayloadSize = 0xffff'ffff; }},
        {"a match payload out of bounds", [](auto& h) { h.matchPayloadSize = 0xffff'ffff; }},
        {"payloads that do not add up", [](auto& h) { h.payloadSize = h.payloadSize + 1; }},
        {"too many unused bits", [](auto& h) { h.literalBits = 0U - 8; }},
        {"unused bits below none", [](auto& h) { h.matchBits = 1; }},
        {"a literal state out of bounds", [](auto& h) { h.literalState[3] = literalStates; }},
        {"a count state out of bounds", [](auto& h) { h.literalCountState = literalCountStates; }},
        {"a length state out of bounds", [](auto& h) { h.lengthState = lengthStates; }},
        {"a distance state out of bounds", [](auto& h) { h.distanceState = distanceStates; }},
        {"frequencies beyond the states", [](auto& h) { h.frequencies[allSymbols - 1] = 1024; }},
        {"frequencies that overflow", [](auto& h) { h.frequencies.fill(0xffff); }},
        {"no frequencies", [](auto& h) { h.frequencies.fill(0); }},
    };
    for (const auto& [name, change] : changes)
        EXPECT_EQ(expand(sample.unpackedWith(change)), std::nullopt) << name;

    for (const std::uint32_t size : {0U, 31U, 33U, 663U, 0xffff'ffffU}) {
        Data stream = sample.stream;
        const auto bytes = recordBytes(le32(size));
        std::copy(bytes.begin(), bytes.end(), stream.begin() + 24);
        EXPECT_EQ(expand(stream), std::nullopt) << "a packed header of " << size << " bytes";
    }
}

TEST(Lzfse, AHeaderIsPlausibleUpToItsLimits)
{
    EntropyHeader most{};
    most.literalCount = maxLiterals;
    most.matchCount = maxMatches;
    most.literalPayloadSize = maxLiteralPayload;
    most.matchPayloadSize = maxMatchPayload;
    most.payloadSize = maxLiteralPayload + maxMatchPayload;
    most.literalBits = most.matchBits = 0U - 7;
    most.literalState.fill(literalStates - 1);
    most.literalCountState = literalCountStates - 1;
    most.lengthState = lengthStates - 1;
    most.distanceState = distanceStates - 1;
    EXPECT_TRUE(isPlausible(most));
    const std::initializer_list<std::function<void(EntropyHeader&)>> beyond = {
        [](auto& h) { h.literalCount = maxLiterals + 4; },
        [](auto& h) { h.matchCount = maxMatches + 1; },
        [](auto& h) { h.literalPayloadSize = maxLiteralPayload + 1, h.payloadSize = h.payloadSize + 1; },
        [](auto& h) { h.matchPayloadSize = maxMatchPayload + 1, h.payloadSize = h.payloadSize + 1; },
        [](auto& h) { h.literalBits = 0U - 8; },
        [](auto& h) { h.matchBits = 0U - 8; },
        [](auto& h) { h.literalState[0] = literalStates; },
        [](auto& h) { h.literalCountState = literalCountStates; },
        [](auto& h) { h.lengthState = lengthStates; },
        [](auto& h) { h.distanceState = distanceStates; },
    };
    for (const auto& change : beyond) {
        EntropyHeader changed = most;
        change(changed);
        EXPECT_FALSE(isPlausible(changed)) << &change - beyond.begin();
    }
}

TEST(Lzfse, ADistanceThatRepeatsNoneIsRefused)
{
    // One match of length 4 without literals. Every automaton has a single symbol, so no state takes a bit; the
    // payload is nothing but padding and the extra bits of the distance.
    EntropyHeader header{};
    header.magic = entropyMagic;
    header.plainSize = 4;
    header.matchCount = 1;
    header.matchPayloadSize = header.payloadSize = matchPadding;
    header.frequencies[0] = literalCountStates;
    header.frequencies[literalCountSymbols + 4] = lengthStates;
    const auto withDistance = [&](std::size_t symbol) {
        EntropyHeader changed = header;
        changed.frequencies[literalCountSymbols + lengthSymbols + symbol] = distanceStates;
        const Data plain = joined({recordBytes(PlainHeader{plainMagic, 3}), Data{'x', 'y', 'z'}});
        return expand(joined({plain, recordBytes(changed), Data(matchPadding), end}));
    };
    EXPECT_EQ(withDistance(2), (Data{'x', 'y', 'z', 'y', 'z', 'y', 'z'}));
    EXPECT_EQ(withDistance(3), (Data{'x', 'y', 'z', 'x', 'y', 'z', 'x'}));
    EXPECT_EQ(withDistance(4), std::nullopt) << "before the first byte";
    EXPECT_EQ(withDistance(0), std::nullopt) << "the same as before, and there is none before";
}

Data lzvn(std::uint32_t plainSize, const Data& opcodes)
{
    const LzvnHeader header{lzvnMagic, plainSize, static_cast<std::uint32_t>(opcodes.size())};
    return joined({recordBytes(header), opcodes, end});
}

TEST(Lzfse, ReadsEveryFormOfLzvnOpcode)
{
    const Data over = {0x06, 0, 0, 0, 0, 0, 0, 0};
    const std::initializer_list<std::tuple<const char*, Data, std::string>> cases = {
        {"literals", {0xe3, 'a', 'b', 'c'}, "abc"},
        {"many literals", joined({Data{0xe0, 0}, Data(16, 'a')}), std::string(16, 'a')},
        {"short distance", {0x80, 2, 'a', 'b'}, "ababa"},
        {"long distance", {0x47, 1, 0, 'a'}, "aaaa"},
        {"medium distance", {0xb0, 0x0b, 0, 'a', 'b'}, "abababab"},
        {"previous distance", {0x80, 2, 'a', 'b', 0x46, 'c'}, "ababacaca"},
        {"short distance behind another", {0x80, 2, 'a', 'b', 0x00, 4}, "abababab"},
        {"long distance behind another", {0x80, 2, 'a', 'b', 0x07, 4, 0}, "abababab"},
        {"medium distance behind another", {0x80, 2, 'a', 'b', 0xa0, 4 << 2, 0}, "abababab"},
        {"match", {0x80, 2, 'a', 'b', 0xf2}, "abababa"},
        {"long match", {0x40, 1, 'a', 0xf0, 1}, std::string(21, 'a')},
        {"nothing", {0x0e, 0xe1, 'a', 0x16}, "a"},
    };
    for (const auto& [name, opcodes, expected] : cases) {
        const auto size = static_cast<std::uint32_t>(expected.size());
        const Data plain(expected.begin(), expected.end());
        EXPECT_EQ(expand(lzvn(size, joined({opcodes, over}))), plain) << name;
        EXPECT_EQ(expand(lzvn(size + 1, joined({opcodes, over}))), std::nullopt) << name;
        EXPECT_EQ(expand(lzvn(size - 1, joined({opcodes, over}))), std::nullopt) << name;
        EXPECT_EQ(expand(lzvn(size, opcodes)), std::nullopt) << name << " without end";
        EXPECT_EQ(expand(lzvn(size, joined({opcodes, over, Data{0}}))), std::nullopt) << name << " with more behind";
        const LzvnHeader larger{lzvnMagic, size, static_cast<std::uint32_t>(opcodes.size() + over.size() + 1)};
        EXPECT_EQ(expand(joined({recordBytes(larger), opcodes, over, end})), std::nullopt) << name << " and the next";
    }
}

/// A text in which no three bytes come twice, followed by so many bytes of it from `distance` back.
Data repeating(std::size_t size, std::size_t distance, std::size_t count)
{
    Data bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i % 2 == 0 ? i / 2 : 128 + i / 512);
    for (; count > 0; --count)
        bytes.push_back(bytes[bytes.size() - distance]);
    return bytes;
}

TEST(Lzfse, ShortInputBecomesFewBytesOfOpcodes)
{
    const Data text = repeating(1600, 1, 0);
    const auto part = [&text](std::size_t from, std::size_t count) { return DataView(text).subspan(from, count); };
    const Data most = {0xe0, 255}; // of literals
    const std::initializer_list<std::tuple<const char*, Data, Data>> cases = {
        {"up to 15 literals in a byte, 2 with the match, which is too long for the short form", repeating(17, 17, 30),
         joined({Data{0xef}, part(0, 15), Data{0xa0 | 2 << 3 | 27 >> 2, 17 << 2 | 3, 0}, part(15, 2)})},
        {"many literals; a match too long for any form", repeating(40, 40, 50),
         joined({Data{0xe0, 40 - 16}, part(0, 40), Data{7 << 3, 40, 0xf0, 40 - 16}})},
        {"the distance before", joined({repeating(40, 40, 30), Data{'x', 'y'}, part(32, 8)}),
         joined({Data{0xe0, 40 - 16}, part(0, 40), Data{0xa0 | 27 >> 2, 40 << 2 | 3, 0},
                 Data{0x80 | 3 << 3 | 6, 'x', 'y', 0xf2}})},
        {"a far match and a last literal", joined({repeating(1600, 1599, 33), Data{'z'}}),
         joined({most, part(0, 271), most, part(271, 271), most, part(542, 271), most, part(813, 271), most,
                 part(1084, 271), Data{0xe0, 245 - 16}, part(1355, 245),
                 Data{0xa0 | 30 >> 2, (1599 << 2 & 0xff) | 2, 1599 >> 6, 0xe1, 'z'}})},
        {"a run", Data(2000),
         joined({Data{0x40 | 5 << 3, 1, 0}, Data{0xf0, 255, 0xf0, 255, 0xf0, 255, 0xf0, 255},
                 Data{0xf0, 255, 0xf0, 255, 0xf0, 255, 0xf0, 94 - 16}})},
    };
    const Data over = {0x06, 0, 0, 0, 0, 0, 0, 0};
    for (const auto& [name, plain, opcodes] : cases)
        EXPECT_EQ(compress(plain), lzvn(static_cast<std::uint32_t>(plain.size()), joined({opcodes, over}))) << name;
}

TEST(Lzfse, InputOfEverySizeComesBack)
{
    std::mt19937 random(11);
    Data bytes;
    while (bytes.size() < 4100) {
        // Literals, repetitions from near and far, runs.
        const std::size_t count = 1 + random() % (random() % 8 == 0 ? 300 : 12);
        const std::size_t distance = 1 + random() % (bytes.size() + 1);
        for (std::size_t i = 0; i < count; ++i)
            bytes.push_back(random() % 3 == 0 || distance > bytes.size() ? static_cast<std::uint8_t>(random() % 64)
                                                                         : bytes[bytes.size() - distance]);
    }
    for (std::size_t size = 1; size <= bytes.size(); ++size) {
        const DataView plain = DataView(bytes).first(size);
        ASSERT_EQ(expand(compress(plain)), Data(plain.begin(), plain.end())) << size;
    }
}

TEST(Lzfse, RefusesLzvnOpcodesThatMeanNothing)
{
    const Data over = {0x06, 0, 0, 0, 0, 0, 0, 0};
    Data undefined = {0x1e, 0x26, 0x2e, 0x36, 0x3e};
    for (std::uint8_t low = 0; low < 16; ++low) {
        undefined.push_back(static_cast<std::uint8_t>(0x70 | low));
        undefined.push_back(static_cast<std::uint8_t>(0xd0 | low));
    }
    for (const std::uint8_t opcode : undefined)
        for (std::uint32_t size = 1; size < 20; ++size)
            EXPECT_EQ(expand(lzvn(size, joined({Data{0xe1, 'a', opcode}, Data(3), over}))), std::nullopt) << +opcode;
    for (const Data& opcodes : {Data{0xe1, 'a', 0xf3}, Data{0x40, 0, 'a'}, Data{0x40, 2, 'a'}, Data{0x47, 0, 0, 'a'}})
        EXPECT_EQ(expand(lzvn(4, joined({opcodes, over}))), std::nullopt) << "a match out of nowhere";
}

TEST(Lzfse, NoChangedByteGetsTheDecoderOutOfBounds)
{
    // What comes out may be wrong, since the format has no checksum; it must be an error or as long as claimed.
    for (const char* name : {"short.txt", "sectors.bin", "zeros.bin"}) {
        const Data stream = readTestData(std::string("lzfse/") + name + ".lzfse");
        const std::uint32_t claimed = readRecord<PlainHeader>(stream)->plainSize;
        for (std::size_t i = 0; i < stream.size(); ++i)
            for (const int bit : {0, 3, 7}) {
                Data changed = stream;
                changed[i] = static_cast<std::uint8_t>(changed[i] ^ 1 << bit);
                const auto result = expand(changed);
                EXPECT_TRUE(!result || i < 8 || result->size() == claimed) << name << ' ' << i;
            }
    }
}

} // namespace
} // namespace vantorel::system::compression::lzfse
