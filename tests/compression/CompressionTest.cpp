// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/compression/Compression.h"

#include "LargestAllocation.h"
#include "support/StreamPump.h"
#include "support/TestData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <unordered_set>

namespace vantorel {
namespace {

using enum CompressionAlgorithm;

constexpr CompressionAlgorithm algorithms[] = {lz4, zlib, lzma, lzfse};

Data noise(std::size_t size)
{
    std::mt19937 random(7);
    Data bytes(size);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

Data text(std::size_t size)
{
    const Data table = test::readTestData("lzfse/table.tsv");
    Data bytes = table;
    while (bytes.size() < size)
        bytes.insert(bytes.end(), table.begin(), table.begin() + 59'999);
    bytes.resize(size);
    return bytes;
}

/// The case that a call throws; absent when it does not.
template <typename Call>
std::optional<CompressionError::Case> thrownBy(Call call)
try {
    (void)call();
    return std::nullopt;
} catch (const CompressionError& error) {
    return error.reason();
}

TEST(Compression, EveryAlgorithmGivesTheInputBackWhateverTheSizeAndTheBlock)
{
    for (const std::size_t size : {1U, 2U, 7U, 8U, 9U, 4095U, 4096U, 4097U, 65'535U, 65'536U, 65'537U, 400'000U})
        for (const Data& plain : {text(size), noise(size), Data(size)})
            for (const CompressionAlgorithm algorithm : algorithms) {
                const auto packed = compress(plain, algorithm);
                ASSERT_TRUE(packed);
                EXPECT_EQ(decompress(*packed, algorithm), plain) << size << ' ' << int(algorithm);
                EXPECT_LT(packed->size(), size + size / 100 + 80);
            }
}

TEST(Compression, TheBlockSizeChangesNothingInTheResult)
{
    const Data plain = text(30'000);
    for (const CompressionAlgorithm algorithm : algorithms) {
        const Data packed = *compress(plain, algorithm);
        const auto whole = static_cast<std::ptrdiff_t>(packed.size());
        constexpr auto largest = std::numeric_limits<std::ptrdiff_t>::max(); // no more is set aside than is needed
        for (const std::ptrdiff_t size : {std::ptrdiff_t{1}, std::ptrdiff_t{997}, whole, 2 * whole, largest})
            EXPECT_EQ(compress(plain, algorithm, size), packed);
        for (const std::ptrdiff_t size : {std::ptrdiff_t{1}, std::ptrdiff_t{4096}, std::ptrdiff_t{15'000},
                                          std::ptrdiff_t{30'000}, std::ptrdiff_t{30'001}, largest})
            EXPECT_EQ(decompress(packed, algorithm, size), plain);
    }
}

TEST(Compression, DeflateOfAWholeBufferAndOfAStreamReadEachOther)
{
    // Short and long, to results of 1, of 4 and of hundreds of times the stream.
    for (const Data& plain : {text(1500), text(100'000), noise(5000), Data(3000), Data(100'000)}) {
        const Data packed = *compress(plain, zlib);
        EXPECT_EQ(test::pump(system::COMPRESSION_STREAM_DECODE, system::COMPRESSION_ZLIB, packed, 5000, 65'536), plain);
        const auto stream =
            test::pump(system::COMPRESSION_STREAM_ENCODE, system::COMPRESSION_ZLIB, plain, 5000, 65'536);
        EXPECT_EQ(decompress(*stream, zlib), plain);
    }
    const Data large(70'000'000); // so large beside its stream that it grows bit by bit
    EXPECT_EQ(decompress(*compress(large, zlib), zlib), large);
}

TEST(Compression, StoredBlocksOfDeflateAreJoined)
{
    // The last of three is empty. What fills up the first byte of a header, and what follows the last, is of no weight.
    const Data stored = {0xf8, 2, 0, 0xfd, 0xff, 'a', 'b', 0x00, 1, 0, 0xfe, 0xff, 'c', 0x01, 0, 0, 0xff, 0xff, 9};
    EXPECT_EQ(decompress(stored, zlib), (Data{'a', 'b', 'c'}));
    // A Huffman block of nothing lies between.
    const Data mixed = {0x00, 2, 0, 0xfd, 0xff, 'a', 'b', 0x02, 0x04, 0, 0, 0xff, 0xff};
    EXPECT_EQ(decompress(mixed, zlib), (Data{'a', 'b'}));
    for (const auto& [place, value] : {std::pair<std::size_t, std::uint8_t>{3, 0xfc}, {11, 0xfd}, {1, 20}, {0, 6}}) {
        Data damaged = stored;
        damaged[place] = value;
        EXPECT_EQ(thrownBy([&] { return decompress(damaged, zlib); }), CompressionError::processError) << place;
    }
    for (std::size_t size = 1; size < stored.size() - 1; ++size)
        EXPECT_EQ(thrownBy([&] { return decompress(DataView(stored).first(size), zlib); }),
                  CompressionError::processError)
            << size;
}

TEST(Compression, AResultTakesNoMoreMemoryThanAboutTwiceItsSize)
{
    for (const Data& plain : {text(300), text(700'000), Data(3'000'000)})
        for (const CompressionAlgorithm algorithm : algorithms) {
            const Data packed = *compress(plain, algorithm);
            EXPECT_LE(packed.capacity(), 2 * packed.size() + 1) << int(algorithm);
            EXPECT_LE(decompress(packed, algorithm)->capacity(), 2 * plain.size()) << int(algorithm);
        }
}

TEST(Compression, NothingLargeIsSetAsideForWhatIsAskedForOrClaimed)
{
    // Blocks of 0xffffffff plain bytes: one of opcodes, of which there is none but the end; one of a byte of LZ4.
    const Data claims[] = {
        {'b', 'v', 'x', 'n', 255, 255, 255, 255, 8, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0, 'b', 'v', 'x', '$'},
        {'b', 'v', '4', '1', 255, 255, 255, 255, 1, 0, 0, 0, 0, 'b', 'v', '4', '$'},
    };
    const Data some = {1, 2, 3};
    test::largestAllocation = 0;
    for (const CompressionAlgorithm algorithm : algorithms)
        EXPECT_EQ(decompress(*compress(some, algorithm, 1 << 30), algorithm, 1 << 30), some);
    EXPECT_EQ(thrownBy([&] { return decompress(claims[0], lzfse); }), CompressionError::processError);
    EXPECT_EQ(thrownBy([&] { return decompress(claims[1], lz4); }), CompressionError::processError);
    EXPECT_LT(test::largestAllocation, 1U << 20);
}

TEST(Compression, LzfseIsWhatIsUsedUnlessAskedOtherwise)
{
    const Data plain = text(20'000);
    EXPECT_EQ(compress(plain), compress(plain, lzfse, 4096));
    EXPECT_EQ(decompress(*compress(plain, lzfse)), plain);
}

TEST(Compression, WrongArgumentsAreRefusedInOrder)
{
    const Data some = {1, 2, 3};
    const auto none = static_cast<CompressionAlgorithm>(0x300);
    for (const CompressionAlgorithm algorithm : algorithms) {
        EXPECT_EQ(thrownBy([&] { return compress({}, algorithm, 0); }), CompressionError::emptyData);
        EXPECT_EQ(thrownBy([&] { return decompress({}, algorithm); }), CompressionError::emptyData);
        EXPECT_EQ(thrownBy([&] { return compress(some, algorithm, 0); }), CompressionError::initError);
        EXPECT_EQ(thrownBy([&] { return decompress(some, algorithm, -4096); }), CompressionError::initError);
    }
    constexpr auto tooMuch = std::numeric_limits<std::ptrdiff_t>::max();
    EXPECT_EQ(thrownBy([&] { return decompress(some, lz4, tooMuch); }), CompressionError::processError);
    EXPECT_EQ(thrownBy([&] { return compress(some, none); }), CompressionError::initError);
    EXPECT_EQ(thrownBy([&] { return decompress(some, none); }), CompressionError::initError);
}

TEST(Compression, InputThatStopsAnywhereBeforeTheEndIsAProcessError)
{
    for (const std::size_t size : {5U, 600U, 6000U})
        for (const CompressionAlgorithm algorithm : algorithms) {
            const Data packed = *compress(text(size), algorithm);
            for (std::size_t kept = 1; kept < packed.size(); ++kept)
                ASSERT_EQ(thrownBy([&] { return decompress(DataView(packed).first(kept), algorithm); }),
                          CompressionError::processError)
                    << int(algorithm) << ' ' << kept;
        }
}

TEST(Compression, ForeignBytesAreAProcessErrorAndBytesBehindTheEndAreIgnored)
{
    const Data plain = text(6000);
    const Data foreign(100, 0xff);
    for (const CompressionAlgorithm algorithm : algorithms) {
        EXPECT_EQ(thrownBy([&] { return decompress(foreign, algorithm); }), CompressionError::processError);
        Data packed = *compress(plain, algorithm);
        packed.insert(packed.end(), foreign.begin(), foreign.end());
        EXPECT_EQ(decompress(packed, algorithm), plain);
    }
}

TEST(CompressionError, IsComparedAndHashedByItsCase)
{
    const std::unordered_set<CompressionError> seen = {CompressionError::emptyData, CompressionError::processError,
                                                       CompressionError::emptyData};
    EXPECT_EQ(seen.size(), 2U);
    EXPECT_TRUE(seen.contains(CompressionError::processError));
    EXPECT_FALSE(seen.contains(CompressionError::initError));
    EXPECT_STREQ(CompressionError(CompressionError::initError).what(), "initError");
}

} // namespace
} // namespace vantorel
