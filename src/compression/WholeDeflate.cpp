// SPDX-License-Identifier: GPL-2.0-or-later
#include "WholeDeflate.h"

#include <libdeflate.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace vantorel::system::compression {

namespace {

constexpr int level = 5;

/// Below these sizes zlib is done before libdeflate has made its tables.
constexpr std::size_t shortestPlain = 2048;
constexpr std::size_t shortestDeflated = 128;

/// A result may have so many times the bytes of its stream. The format allows for no more than the last.
constexpr std::size_t rates[] = {16, 128, 1040};

/// What is set aside for a result at a higher rate than the first.
constexpr std::size_t mostSetAside = 64 << 20;

template <auto release>
struct Release {
    template <typename T>
    void operator()(T* owned) const
    {
        release(owned);
    }
};
using Compressor = std::unique_ptr<libdeflate_compressor, Release<libdeflate_free_compressor>>;
using Decompressor = std::unique_ptr<libdeflate_decompressor, Release<libdeflate_free_decompressor>>;

/// Memory that is not cleared: what is not written to costs nothing.
using Bytes = std::unique_ptr<std::uint8_t[]>;

} // namespace

std::optional<Data> deflateWhole(DataView plain)
{
    if (plain.size() < shortestPlain)
        return std::nullopt;
    const Compressor compressor(libdeflate_alloc_compressor(level));
    if (!compressor)
        throw std::bad_alloc();
    const std::size_t most = libdeflate_deflate_compress_bound(compressor.get(), plain.size());
    const Bytes bytes = std::make_unique_for_overwrite<std::uint8_t[]>(most);
    const std::size_t size =
        libdeflate_deflate_compress(compressor.get(), plain.data(), plain.size(), bytes.get(), most);
    return Data(bytes.get(), bytes.get() + size);
}

Inflated inflateWhole(DataView deflated)
{
    if (deflated.size() < shortestDeflated)
        return {Inflated::leftToAStream, {}};
    const Decompressor decompressor(libdeflate_alloc_decompressor());
    if (!decompressor)
        throw std::bad_alloc();
    for (const std::size_t rate : rates) {
        if (rate > rates[0] && deflated.size() > mostSetAside / rate)
            break;
        const std::size_t most = rate * deflated.size();
        const Bytes bytes(new (std::nothrow) std::uint8_t[most]);
        if (!bytes)
            break;
        std::size_t used = 0;
        std::size_t size = 0;
        switch (libdeflate_deflate_decompress_ex(decompressor.get(), deflated.data(), deflated.size(), bytes.get(),
                                                 most, &used, &size)) {
        case LIBDEFLATE_SUCCESS:
            return {Inflated::done, Data(bytes.get(), bytes.get() + size)};
        case LIBDEFLATE_INSUFFICIENT_SPACE:
            continue;
        default:
            return {Inflated::damaged, {}};
        }
    }
    return {Inflated::leftToAStream, {}};
}

} // namespace vantorel::system::compression
