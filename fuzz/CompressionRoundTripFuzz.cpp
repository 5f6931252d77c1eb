// SPDX-License-Identifier: GPL-2.0-or-later
// Whatever is compressed, in whatever portions, expands to itself.
#include "support/StreamPump.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace vantorel;
    using namespace vantorel::system;
    // The algorithm, the sizes of source and destination on both ways, and how often the rest is repeated, so that
    // blocks and window are filled by small inputs too.
    constexpr std::size_t parameters = 6;
    if (size < parameters)
        return 0;
    constexpr compression_algorithm algorithms[] = {COMPRESSION_LZ4, COMPRESSION_ZLIB, COMPRESSION_LZMA,
                                                    COMPRESSION_LZFSE};
    const compression_algorithm algorithm = algorithms[bytes[0] % 4];
    const auto sizeOf = [](std::uint8_t byte) { return std::size_t{1} << byte % 18; };
    Data plain;
    for (int repeat = bytes[5]; repeat >= 0 && plain.size() < 1'000'000; --repeat) {
        plain.insert(plain.end(), bytes + parameters, bytes + size);
        plain.push_back(static_cast<std::uint8_t>(repeat));
    }
    const auto packed = test::pump(COMPRESSION_STREAM_ENCODE, algorithm, plain, sizeOf(bytes[1]), sizeOf(bytes[2]));
    if (!packed ||
        test::pump(COMPRESSION_STREAM_DECODE, algorithm, *packed, sizeOf(bytes[3]), sizeOf(bytes[4])) != plain)
        std::abort();
    // In place it is the same stream. liblzma may take a smaller dictionary for an input that comes whole.
    const auto again = test::pumpInPlace(COMPRESSION_STREAM_ENCODE, algorithm, plain, 1 << 16);
    if (!again || (again != packed && algorithm != COMPRESSION_LZMA) ||
        test::pumpInPlace(COMPRESSION_STREAM_DECODE, algorithm, *again, 1 << 16) != plain)
        std::abort();
    return 0;
}
