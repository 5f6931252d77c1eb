// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/compression/CompressionStream.h"

#include "support/StreamPump.h"
#include "support/TestData.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace vantorel::system {
namespace {

using test::pump;
using test::pumpInPlace;
using test::readTestData;

constexpr std::size_t everything = std::numeric_limits<std::size_t>::max();
constexpr compression_algorithm algorithms[] = {COMPRESSION_LZ4, COMPRESSION_ZLIB, COMPRESSION_LZMA, COMPRESSION_LZFSE};

std::optional<Data> expand(compression_algorithm algorithm, DataView input)
{
    return pump(COMPRESSION_STREAM_DECODE, algorithm, input, everything, 4096);
}

TEST(CompressionStream, NeitherPortionsNorRoomChangeTheResult)
{
    const Data plain = readTestData("lzfse/sectors.bin");
    for (const compression_algorithm algorithm : algorithms) {
        const auto packed = pump(COMPRESSION_STREAM_ENCODE, algorithm, plain, everything, 1 << 20);
        ASSERT_TRUE(packed);
        for (const std::size_t source : {std::size_t{1}, std::size_t{13}, everything})
            for (const std::size_t destination : {1U, 13U, 100'000U}) {
                // liblzma is told of the whole input when it comes at once, and takes a smaller dictionary then.
                const auto again = pump(COMPRESSION_STREAM_ENCODE, algorithm, plain, source, destination);
                ASSERT_TRUE(again);
                EXPECT_TRUE(again == packed || algorithm == COMPRESSION_LZMA) << algorithm;
                EXPECT_EQ(pump(COMPRESSION_STREAM_DECODE, algorithm, *again, source, destination), plain);
            }
    }
}

TEST(CompressionStream, MatchesOfXzReachAsFarWhetherTheWholeInputIsSeenOrNot)
{
    Data plain = readTestData("lzfse/noise.bin");
    plain.resize(5000); // beyond the smallest dictionary
    plain.insert(plain.end(), plain.begin(), plain.begin() + 5000);
    for (const std::size_t portion : {std::size_t{1000}, everything}) {
        const auto packed = pump(COMPRESSION_STREAM_ENCODE, COMPRESSION_LZMA, plain, portion, 1 << 20);
        ASSERT_TRUE(packed);
        EXPECT_LT(packed->size(), 5300U) << portion;
    }
}

/// Text, noise, sectors and zeros, each more than once: blocks of every kind, and matches across them.
Data mixture()
{
    Data bytes;
    for (int repeat = 0; repeat < 3; ++repeat) {
        for (const char* name : {"lzfse/table.tsv", "lzfse/noise.bin", "lzfse/sectors.bin"}) {
            const Data part = readTestData(name);
            bytes.insert(bytes.end(), part.begin(), part.end());
        }
        bytes.resize(bytes.size() + 150'000);
    }
    return bytes;
}

TEST(CompressionStream, InPlaceItGivesTheSame)
{
    const Data plain = mixture();
    for (const compression_algorithm algorithm : algorithms) {
        const auto packed = pump(COMPRESSION_STREAM_ENCODE, algorithm, plain, everything, 1 << 20);
        ASSERT_TRUE(packed);
        for (const std::size_t destination : {4096U, 70'000U, 1'000'000U}) {
            EXPECT_EQ(pumpInPlace(COMPRESSION_STREAM_ENCODE, algorithm, plain, destination), packed);
            EXPECT_EQ(pumpInPlace(COMPRESSION_STREAM_DECODE, algorithm, *packed, destination), plain);
        }
    }
}

TEST(CompressionStream, IsInPlaceFromItsFirstCallOrNotAtAll)
{
    Data room(1 + COMPRESSION_STREAM_AHEAD);
    compression_stream stream;
    EXPECT_EQ(compression_stream_in_place(nullptr), COMPRESSION_STATUS_ERROR);
    EXPECT_EQ(compression_stream_in_place(&stream), COMPRESSION_STATUS_ERROR) << "not set up";
    EXPECT_EQ(compression_stream_claimed_size(nullptr), 0U);
    EXPECT_EQ(compression_stream_claimed_size(&stream), 0U);
    ASSERT_EQ(compression_stream_init(&stream, COMPRESSION_STREAM_DECODE, COMPRESSION_LZ4), COMPRESSION_STATUS_OK);
    stream.dst_ptr = room.data();
    stream.dst_size = 1;
    EXPECT_EQ(compression_stream_process(&stream, 0), COMPRESSION_STATUS_OK);
    EXPECT_EQ(compression_stream_in_place(&stream), COMPRESSION_STATUS_ERROR) << "called already";
}

TEST(CompressionStream, ClaimsWhatTheHeadersOfAWholeStreamAddUpTo)
{
    const auto claim = [](compression_algorithm algorithm, DataView source) {
        compression_stream stream;
        EXPECT_EQ(compression_stream_init(&stream, COMPRESSION_STREAM_DECODE, algorithm), COMPRESSION_STATUS_OK);
        stream.src_ptr = source.data();
        stream.src_size = source.size();
        return compression_stream_claimed_size(&stream);
    };
    const Data plain = mixture();
    for (const compression_algorithm algorithm : algorithms) {
        const bool tells = algorithm == COMPRESSION_LZ4 || algorithm == COMPRESSION_LZFSE;
        for (const std::size_t size : {std::size_t{5}, std::size_t{3000}, plain.size()}) {
            const DataView part = DataView(plain).first(size);
            const Data packed = *pump(COMPRESSION_STREAM_ENCODE, algorithm, part, everything, 1 << 20);
            EXPECT_EQ(claim(algorithm, packed), tells ? size : 0);
            for (std::size_t kept = 0; kept < packed.size(); kept += 1 + kept / 50)
                EXPECT_EQ(claim(algorithm, DataView(packed).first(kept)), 0U);
        }
    }
}

TEST(CompressionStream, NothingBecomesAStreamOfNothing)
{
    const std::pair<compression_algorithm, Data> expected[] = {
        {COMPRESSION_LZ4, {'b', 'v', '4', '$'}},
        {COMPRESSION_LZFSE, {'b', 'v', 'x', '-', 0, 0, 0, 0, 'b', 'v', 'x', '$'}},
        {COMPRESSION_ZLIB, {3, 0}},
    };
    for (const auto& [algorithm, bytes] : expected)
        EXPECT_EQ(pump(COMPRESSION_STREAM_ENCODE, algorithm, {}, 1, 1), bytes);
    for (const compression_algorithm algorithm : algorithms)
        EXPECT_EQ(expand(algorithm, *pump(COMPRESSION_STREAM_ENCODE, algorithm, {}, 1, 1)), Data{});
}

TEST(CompressionStream, SaysWhereItStands)
{
    const Data plain = readTestData("lzfse/short.txt");
    for (const compression_algorithm algorithm : algorithms) {
        Data packed = *pump(COMPRESSION_STREAM_ENCODE, algorithm, plain, everything, 4096);
        packed.push_back('!');

        compression_stream stream;
        ASSERT_EQ(compression_stream_init(&stream, COMPRESSION_STREAM_DECODE, algorithm), COMPRESSION_STATUS_OK);
        Data room(plain.size());
        stream.dst_ptr = room.data();
        stream.dst_size = room.size();
        stream.src_ptr = packed.data();
        stream.src_size = 3; // not even the first header
        EXPECT_EQ(compression_stream_process(&stream, 0), COMPRESSION_STATUS_OK);
        EXPECT_EQ(stream.src_size, 0U);

        stream.src_size = packed.size() - 3;
        for (int call = 0; call < 3; ++call)
            EXPECT_EQ(compression_stream_process(&stream, 0), COMPRESSION_STATUS_END);
        EXPECT_EQ(room, plain);
        EXPECT_EQ(stream.dst_size, 0U);
        EXPECT_EQ(stream.src_size, 1U) << "the byte behind the end stays";
        EXPECT_EQ(compression_stream_destroy(&stream), COMPRESSION_STATUS_OK);
    }
}

TEST(CompressionStream, AStreamThatStopsIsAnErrorOnceThereIsRoom)
{
    for (const compression_algorithm algorithm : algorithms) {
        const Data packed =
            *pump(COMPRESSION_STREAM_ENCODE, algorithm, readTestData("lzfse/short.txt"), everything, 4096);
        Data room(4096);
        const auto statusWith = [&](std::size_t size, std::size_t& left) {
            compression_stream stream;
            EXPECT_EQ(compression_stream_init(&stream, COMPRESSION_STREAM_DECODE, algorithm), COMPRESSION_STATUS_OK);
            stream.src_ptr = packed.data();
            stream.src_size = packed.size() - 1;
            stream.dst_ptr = room.data();
            stream.dst_size = size;
            const compression_status status = compression_stream_process(&stream, COMPRESSION_STREAM_FINALIZE);
            left = stream.dst_size;
            EXPECT_EQ(compression_stream_destroy(&stream), COMPRESSION_STATUS_OK);
            return status;
        };
        std::size_t left = 0;
        EXPECT_EQ(statusWith(room.size(), left), COMPRESSION_STATUS_ERROR) << algorithm;
        const std::size_t written = room.size() - left;
        EXPECT_EQ(statusWith(written + 1, left), COMPRESSION_STATUS_ERROR) << algorithm;
        EXPECT_EQ(left, 1U);
        EXPECT_EQ(statusWith(written, left), COMPRESSION_STATUS_OK) << algorithm << ": there may be more to come";
    }
}

TEST(CompressionStream, RefusesWrongArguments)
{
    compression_stream stream;
    EXPECT_EQ(compression_stream_process(&stream, 0), COMPRESSION_STATUS_ERROR) << "before it was set up";
    EXPECT_EQ(compression_stream_init(&stream, static_cast<compression_stream_operation>(2), COMPRESSION_LZ4),
              COMPRESSION_STATUS_ERROR);
    EXPECT_EQ(compression_stream_init(&stream, COMPRESSION_STREAM_ENCODE, static_cast<compression_algorithm>(0x101)),
              COMPRESSION_STATUS_ERROR);
    EXPECT_EQ(compression_stream_init(nullptr, COMPRESSION_STREAM_ENCODE, COMPRESSION_LZ4), COMPRESSION_STATUS_ERROR);
    EXPECT_EQ(compression_stream_destroy(&stream), COMPRESSION_STATUS_ERROR) << "nothing was set up";

    ASSERT_EQ(compression_stream_init(&stream, COMPRESSION_STREAM_DECODE, COMPRESSION_LZ4), COMPRESSION_STATUS_OK);
    EXPECT_EQ(compression_stream_process(&stream, 2), COMPRESSION_STATUS_ERROR);
    EXPECT_EQ(compression_stream_destroy(&stream), COMPRESSION_STATUS_OK);
    EXPECT_EQ(compression_stream_destroy(&stream), COMPRESSION_STATUS_ERROR) << "only once";
}

TEST(CompressionStream, AnErrorIsForEver)
{
    const Data wrong(64, 0xff);
    Data room(64);
    for (const compression_algorithm algorithm : algorithms) {
        compression_stream stream;
        ASSERT_EQ(compression_stream_init(&stream, COMPRESSION_STREAM_DECODE, algorithm), COMPRESSION_STATUS_OK);
        stream.src_ptr = wrong.data();
        stream.src_size = wrong.size();
        stream.dst_ptr = room.data();
        stream.dst_size = room.size();
        for (int call = 0; call < 3; ++call)
            EXPECT_EQ(compression_stream_process(&stream, 0), COMPRESSION_STATUS_ERROR);
    }
}

// "State and health. " five times and "!", by zlib at level 9 and by xz -9e with CRC32.
constexpr std::uint8_t foreignDeflate[] = {0x0b, 0x2e, 0x49, 0x2c, 0x49, 0x55, 0x48, 0xcc, 0x4b, 0x51, 0xc8, 0x48,
                                           0x4d, 0xcc, 0x29, 0xc9, 0xd0, 0x53, 0x08, 0xa6, 0x92, 0x88, 0x22, 0x00};
constexpr std::uint8_t foreignXz[] = {
    0xfd, 0x37, 0x7a, 0x58, 0x5a, 0x00, 0x00, 0x01, 0x69, 0x22, 0xde, 0x36, 0x02, 0x00, 0x21, 0x01, 0x1c,
    0x00, 0x00, 0x00, 0x10, 0xcf, 0x58, 0xcc, 0xe0, 0x00, 0x5a, 0x00, 0x1b, 0x5d, 0x00, 0x29, 0x9d, 0x08,
    0x27, 0x77, 0x8f, 0x14, 0x63, 0x86, 0x5f, 0x46, 0x72, 0xab, 0x85, 0xe6, 0xe9, 0x41, 0x92, 0x7e, 0xb2,
    0x8b, 0xd9, 0xb3, 0x3d, 0xcc, 0x20, 0x00, 0x00, 0x00, 0x5d, 0x4a, 0x87, 0xbf, 0x00, 0x01, 0x33, 0x5b,
    0x67, 0x58, 0x54, 0x28, 0x90, 0x42, 0x99, 0x0d, 0x01, 0x00, 0x00, 0x00, 0x00, 0x01, 0x59, 0x5a};

TEST(CompressionStream, ReadsTheStreamsOfOtherPrograms)
{
    std::string text;
    for (int i = 0; i < 5; ++i)
        text += "State and health. ";
    text += '!';
    const Data expected(text.begin(), text.end());
    EXPECT_EQ(expand(COMPRESSION_ZLIB, foreignDeflate), expected);
    EXPECT_EQ(expand(COMPRESSION_LZMA, foreignXz), expected);

    Data changed(std::begin(foreignXz), std::end(foreignXz));
    changed[40] ^= 1;
    EXPECT_EQ(expand(COMPRESSION_LZMA, changed), std::nullopt) << "the checksum does not fit";
}

TEST(CompressionStream, RefusesAnXzDictionaryBeyondThatOfTheLargestLevel)
{
    // The size of the dictionary is coded in one byte of the block header, which has a checksum of its own.
    const std::pair<std::array<std::uint8_t, 5>, bool> headers[] = {
        {{0x1c, 0x10, 0xcf, 0x58, 0xcc}, true},  // 64 MiB
        {{0x1d, 0x75, 0xa8, 0xe4, 0x74}, false}, // 96 MiB
        {{0x25, 0x3b, 0x78, 0x7b, 0x41}, false}, // 1536 MiB
    };
    for (const auto& [bytes, readable] : headers) {
        Data stream(std::begin(foreignXz), std::end(foreignXz));
        stream[16] = bytes[0];
        std::copy(bytes.begin() + 1, bytes.end(), stream.begin() + 20);
        EXPECT_EQ(expand(COMPRESSION_LZMA, stream).has_value(), readable);
    }
}

} // namespace
} // namespace vantorel::system
