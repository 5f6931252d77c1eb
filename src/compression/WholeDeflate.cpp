// SPDX-License-Identifier: GPL-2.0-or-later
#include "WholeDeflate.h"

#include "Load.h"

#include <libdeflate.h>
#include <zlib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace vantorel::system::compression {

namespace {

constexpr int level = 5;

/// Below these sizes zlib is done before libdeflate has made its tables.
constexpr std::size_t shortestPlain = 2048;
constexpr std::size_t shortestDeflated = 200;

/// Room for the result of a short input, of either kind unless it expands to much.
using ShortRoom = std::array<std::uint8_t, 4096>;

void connect(z_stream& z, DataView in, ShortRoom& out)
{
    z.next_in = const_cast<Bytef*>(in.data()); // zlib does not write there
    z.avail_in = static_cast<uInt>(in.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
}

Data deflateShort(DataView plain)
{
    constexpr int windowBits = -12; // the input lies within
    constexpr int memoryLevel = 5;  // of its size
    z_stream z{};
    if (deflateInit2(&z, level, Z_DEFLATED, windowBits, memoryLevel, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    ShortRoom room;
    connect(z, plain, room);
    deflate(&z, Z_FINISH);
    deflateEnd(&z);
    return {room.data(), room.data() + z.total_out};
}

/// Absent when the stream does not end within the room.
std::optional<Data> inflateShort(DataView deflated)
{
    constexpr int windowBits = -15;
    z_stream z{};
    if (inflateInit2(&z, windowBits) != Z_OK)
        throw std::bad_alloc();
    ShortRoom room;
    connect(z, deflated, room);
    const bool isWhole = inflate(&z, Z_FINISH) == Z_STREAM_END;
    inflateEnd(&z);
    return isWhole ? std::optional(Data(room.data(), room.data() + z.total_out)) : std::nullopt;
}

/// Hands out the bytes of block after block. False when not all blocks up to the last are stored ones, and sound.
template <typename Put>
bool walkStored(DataView deflated, Put put)
{
    constexpr std::size_t headerSize = 5; // the bits of last and kind, filled up to a byte; size; the same, inverted
    for (bool last = false; !last;) {
        if (deflated.size() < headerSize || (deflated[0] >> 1 & 3) != 0)
            return false;
        last = (deflated[0] & 1) != 0;
        const std::size_t size = load16(&deflated[1]);
        if ((size ^ load16(&deflated[3])) != 0xffff || size > deflated.size() - headerSize)
            return false;
        put(deflated.subspan(headerSize, size));
        deflated = deflated.subspan(headerSize + size);
    }
    return true;
}

/// What a stream of nothing but stored blocks expands to, as one of noise is; absent for all others. The libraries
/// would copy it into the room they are given, and it would have to be copied once more.
std::optional<Data> joinStored(DataView deflated)
{
    std::size_t size = 0;
    if (!walkStored(deflated, [&](DataView block) { size += block.size(); }))
        return std::nullopt;
    Data plain;
    plain.reserve(size);
    walkStored(deflated, [&](DataView block) { plain.insert(plain.end(), block.begin(), block.end()); });
    return plain;
}

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

} // namespace

Data deflateWhole(DataView plain)
{
    if (plain.size() < shortestPlain)
        return deflateShort(plain);
    const Compressor compressor(libdeflate_alloc_compressor(level));
    if (!compressor)
        throw std::bad_alloc();
    // Not cleared: what is not written to costs nothing.
    const std::size_t most = libdeflate_deflate_compress_bound(compressor.get(), plain.size());
    const auto room = std::make_unique_for_overwrite<std::uint8_t[]>(most);
    const std::size_t size =
        libdeflate_deflate_compress(compressor.get(), plain.data(), plain.size(), room.get(), most);
    return {room.get(), room.get() + size};
}

std::optional<Data> inflateWhole(DataView deflated)
{
    if (auto plain = joinStored(deflated))
        return plain;
    if (deflated.size() < shortestDeflated)
        if (auto plain = inflateShort(deflated))
            return plain;
    const Decompressor decompressor(libdeflate_alloc_decompressor());
    if (!decompressor)
        throw std::bad_alloc();
    // A result may have so many times the bytes of its stream. The format allows for no more than the last.
    for (const std::size_t rate : {16U, 128U, 1040U}) {
        constexpr std::size_t muchRoom = 64 << 20;
        const std::size_t most = rate * deflated.size();
        if (rate > 16 && most > muchRoom)
            break;
        const std::unique_ptr<std::uint8_t[]> room(new (std::nothrow) std::uint8_t[most]);
        if (!room)
            break;
        std::size_t used = 0;
        std::size_t size = 0;
        const libdeflate_result result = libdeflate_deflate_decompress_ex(
            decompressor.get(), deflated.data(), deflated.size(), room.get(), most, &used, &size);
        if (result == LIBDEFLATE_SUCCESS)
            return Data(room.get(), room.get() + size);
        if (result != LIBDEFLATE_INSUFFICIENT_SPACE)
            break;
    }
    return std::nullopt;
}

} // namespace vantorel::system::compression
