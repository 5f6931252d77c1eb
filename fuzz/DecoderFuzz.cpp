// SPDX-License-Identifier: GPL-2.0-or-later
// Built once for each algorithm. A foreign stream must end or fail, and in the same way whatever portions it comes in
// and wherever its output lies.
#include "support/StreamPump.h"
#include "vantorel/compression/Compression.h"

#include <cstdlib>

namespace {

using namespace vantorel;

constexpr std::size_t mostOutput = 64 << 20; // what a small input may well expand to

std::optional<Data> expand(DataView input, std::size_t sourceSize, std::size_t destinationSize)
{
    return test::pump(system::COMPRESSION_STREAM_DECODE, system::VANTOREL_ALGORITHM, input, sourceSize, destinationSize,
                      mostOutput);
}

/// The operation on a whole buffer; absent when it throws.
std::optional<Data> expandWhole(DataView input)
try {
    return decompress(input, static_cast<CompressionAlgorithm>(system::VANTOREL_ALGORITHM));
} catch (const CompressionError&) {
    return std::nullopt;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const DataView input(bytes, size);
    const auto whole = expand(input, std::max<std::size_t>(size, 1), 4096);
    if (expand(input, 1 + size % 7, 1 << 16) != whole)
        std::abort();
    if (test::pumpInPlace(system::COMPRESSION_STREAM_DECODE, system::VANTOREL_ALGORITHM, input, 1 << 16, mostOutput) !=
        whole)
        std::abort();
    // libdeflate takes a few streams that zlib does not, so what it reads alone is no failure.
    if (whole && expandWhole(input) != whole)
        std::abort();
    return 0;
}
