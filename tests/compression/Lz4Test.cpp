// SPDX-License-Identifier: GPL-2.0-or-later
#include "compression/Lz4Frame.h"

#include "support/StreamPump.h"
#include "support/TestData.h"

#include <gtest/gtest.h>
#include <lz4.h>

#include <initializer_list>
#include <random>

namespace vantorel::system::compression::lz4 {
namespace {

using test::pump;
using test::readTestData;

std::optional<Data> expand(DataView stream, std::size_t portion = 4096)
{
    return pump(COMPRESSION_STREAM_DECODE, COMPRESSION_LZ4, stream, portion, 4096);
}

/// Streams put together block by block.
struct Frame {
    Data bytes;

    Frame& add(DataView part)
    {
        bytes.insert(bytes.end(), part.begin(), part.end());
        return *this;
    }
    Frame& stored(DataView plain)
    {
        return add(recordBytes(StoredHeader{storedMagic, static_cast<std::uint32_t>(plain.size())})).add(plain);
    }
    Frame& compressed(std::uint32_t plainSize, DataView encoded)
    {
        const auto size = static_cast<std::uint32_t>(encoded.size());
        return add(recordBytes(CompressedHeader{compressedMagic, plainSize, size})).add(encoded);
    }
    Data end() { return add(recordBytes(le32(endMagic))).bytes; }
};

TEST(Lz4, ReadsABlockThatAMacWrote)
{
    EXPECT_EQ(expand(Frame().add(readTestData("lz4/macos-log.bv41")).end()), readTestData("lz4/macos-log.plain"));
}

TEST(Lz4, MatchesReachIntoEarlierBlocksOfBothKinds)
{
    const Data letters = {'a', 'b', 'c', 'd'};
    // No literals, 4 bytes from 4 back, then 8 literals; and the same from 12 back.
    const Data first = {0x00, 4, 0, 0x80, '1', '2', '3', '4', '5', '6', '7', '8'};
    const Data second = {0x00, 12, 0, 0x80, '8', '7', '6', '5', '4', '3', '2', '1'};
    const std::string expected = "abcdabcd12345678abcd87654321";
    EXPECT_EQ(expand(Frame().stored(letters).compressed(12, first).compressed(12, second).end(), 1),
              Data(expected.begin(), expected.end()));
}

TEST(Lz4, BlocksMayBeOfAnySize)
{
    Data plain;
    while (plain.size() < 300'000) {
        const Data part = readTestData("lzfse/table.tsv");
        plain.insert(plain.end(), part.begin(), part.end());
    }
    plain.resize(plain.size() + 200'000); // a run of zeros longer than the window
    Data encoded(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(plain.size()))));
    encoded.resize(static_cast<std::size_t>(
        LZ4_compress_default(reinterpret_cast<const char*>(plain.data()), reinterpret_cast<char*>(encoded.data()),
                             static_cast<int>(plain.size()), static_cast<int>(encoded.size()))));
    const auto size = static_cast<std::uint32_t>(plain.size());
    Data expected = plain;
    expected.push_back('!');
    for (const std::size_t portion : {1U, 1000U, 1U << 20})
        EXPECT_EQ(expand(Frame().compressed(size, encoded).stored(Data{'!'}).end(), portion), expected);
    for (const int wrong : {-1, 1})
        EXPECT_EQ(expand(Frame().compressed(size + static_cast<std::uint32_t>(wrong), encoded).end()), std::nullopt);
    EXPECT_EQ(expand(Frame().compressed(size, DataView(encoded).first(encoded.size() - 1)).end()), std::nullopt);
}

TEST(Lz4, WhatDoesNotCompressIsStored)
{
    const Data noise = readTestData("lzfse/noise.bin");
    EXPECT_EQ(pump(COMPRESSION_STREAM_ENCODE, COMPRESSION_LZ4, noise, 4096, 4096), Frame().stored(noise).end());
}

TEST(Lz4, BehindNoiseItCompressesAsWellAsAlone)
{
    std::mt19937 random(5);
    Data plain(3 * blockSize);
    for (std::uint8_t& byte : plain)
        byte = static_cast<std::uint8_t>(random());
    const Data noise = plain;
    const Data table = readTestData("lzfse/table.tsv");
    plain.insert(plain.end(), table.begin(), table.end());
    const auto packed = pump(COMPRESSION_STREAM_ENCODE, COMPRESSION_LZ4, plain, 4096, 4096);
    EXPECT_EQ(packed->size(), pump(COMPRESSION_STREAM_ENCODE, COMPRESSION_LZ4, table, 4096, 4096)->size() +
                                  noise.size() + 3 * sizeof(StoredHeader));
    EXPECT_EQ(expand(*packed), plain);
}

TEST(Lz4, HistoryGoesOnAcrossTheBlocksThatAreWritten)
{
    const Data noise = readTestData("lzfse/noise.bin");
    Data plain(blockSize - noise.size());
    plain.insert(plain.end(), noise.begin(), noise.end());
    const std::size_t oneBlock = pump(COMPRESSION_STREAM_ENCODE, COMPRESSION_LZ4, plain, 4096, 4096)->size();
    plain.insert(plain.end(), noise.begin(), noise.end());
    const auto packed = pump(COMPRESSION_STREAM_ENCODE, COMPRESSION_LZ4, plain, 4096, 4096);
    EXPECT_LT(packed->size(), oneBlock + 200) << "the second block is a copy out of the first";
    EXPECT_EQ(expand(*packed), plain);
}

TEST(Lz4, RefusesDamage)
{
    // Each in a block small enough to be expanded at once and again in one that is not: with a claim of more.
    const std::initializer_list<std::pair<const char*, Data>> blocks = {
        {"nothing at all", {}},
        {"a match before the first byte", {0x10, 'a', 2, 0, 0x10, 'b'}},
        {"a distance of 0", {0x10, 'a', 0, 0, 0x10, 'b'}},
        {"literals beyond the block", {0x50, 'a', 'b'}},
        {"a length that never ends", {0xf0, 0xff, 0xff}},
        {"half a distance", {0x10, 'a', 1}},
        {"a match at the end", {0x10, 'a', 1, 0}},
        {"more or less than claimed", {0x1f, 'a', 1, 0, 255, 255, 255, 255, 0, 0x10, 'b'}},
    };
    for (const auto& [name, block] : blocks)
        for (const std::uint32_t claim : {6U, 70'000U, 0xffff'ffffU})
            EXPECT_EQ(expand(Frame().compressed(claim, block).end()), std::nullopt) << name << ' ' << claim;
    EXPECT_EQ(expand(Data{'b', 'v', '4', '2', 0, 0, 0, 0}), std::nullopt);
    EXPECT_EQ(expand(Frame().stored(Data{'a'}).bytes), std::nullopt) << "without an end";
}

TEST(Lz4, ALargeBlockIsReadAsItIsWritten)
{
    // A literal and 4 bytes from some way back; one and 76,519 from 1 back; 100 literals at the end.
    const auto withDistance = [](std::uint8_t low, std::uint8_t high, std::uint32_t claim) {
        Data block = {0x10, 'a', low, high, 0x1f, 'b', 1, 0};
        block.resize(block.size() + 300, 255);
        block.insert(block.end(), {0, 0xf0, 85});
        block.resize(block.size() + 100, 'c');
        return expand(Frame().compressed(claim, block).end(), 1000);
    };
    const std::uint32_t size = 5 + 1 + 76'519 + 100;
    Data expected(5, 'a');
    expected.resize(5 + 1 + 76'519, 'b');
    expected.resize(size, 'c');
    EXPECT_EQ(withDistance(1, 0, size), expected);
    EXPECT_EQ(withDistance(1, 0, size - 1), std::nullopt);
    EXPECT_EQ(withDistance(1, 0, size + 1), std::nullopt);
    EXPECT_EQ(withDistance(0, 0, size), std::nullopt) << "no distance";
    EXPECT_EQ(withDistance(2, 0, size), std::nullopt) << "before the first byte";
    EXPECT_EQ(withDistance(1, 1, size), std::nullopt) << "far before the first byte";
}

} // namespace
} // namespace vantorel::system::compression::lz4
