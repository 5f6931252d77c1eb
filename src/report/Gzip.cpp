// SPDX-License-Identifier: GPL-2.0-or-later
#include "Gzip.h"

#include <zlib.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <string>

namespace vantorel::report {

namespace {

constexpr int gzipOnly = 15 + 16; // zlib's largest window, and its mark for a gzip header

/// zlib's expander, for one member after the other.
class Inflater {
public:
    Inflater()
    {
        if (inflateInit2(&stream_, gzipOnly) != Z_OK)
            throw std::bad_alloc();
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater() { inflateEnd(&stream_); }

    /// Expands the member at the start of `bytes` behind `result`; gives what follows the member.
    DataView member(DataView bytes, Data& result, std::size_t limit)
    {
        inflateReset(&stream_);
        stream_.avail_in = 0;
        for (;;) {
            if (stream_.avail_in == 0) {
                const std::size_t chunk = std::min<std::size_t>(bytes.size(), std::numeric_limits<uInt>::max());
                stream_.next_in = const_cast<Bytef*>(bytes.data()); // zlib reads only
                stream_.avail_in = static_cast<uInt>(chunk);
                bytes = bytes.subspan(chunk);
            }
            const int status = step(result, limit);
            if (status == Z_STREAM_END)
                return {stream_.next_in, stream_.avail_in + bytes.size()};
            if (status == Z_MEM_ERROR)
                throw std::bad_alloc();
            if (status != Z_OK && status != Z_BUF_ERROR)
                throw GzipError(std::string("damaged gzip data: ") + (stream_.msg ? stream_.msg : "a dictionary"));
            if (stream_.avail_in == 0 && bytes.empty() && stream_.avail_out != 0)
                throw GzipError("gzip data cut short");
        }
    }

private:
    int step(Data& result, std::size_t limit)
    {
        stream_.next_out = chunk_.data();
        stream_.avail_out = static_cast<uInt>(chunk_.size());
        const int status = inflate(&stream_, Z_NO_FLUSH);
        const std::size_t count = chunk_.size() - stream_.avail_out;
        if (count > limit - result.size())
            throw GzipError("gzip data that expand to more than " + std::to_string(limit) + " bytes");
        result.insert(result.end(), chunk_.begin(), chunk_.begin() + static_cast<std::ptrdiff_t>(count));
        return status;
    }

    z_stream stream_{};
    Data chunk_ = Data(64 * 1024);
};

} // namespace

Data gunzip(DataView bytes, std::size_t limit)
{
    Data result;
    Inflater inflater;
    do
        bytes = inflater.member(bytes, result, limit);
    while (bytes.size() >= 2 && bytes[0] == 0x1F && bytes[1] == 0x8B);
    if (std::ranges::any_of(bytes, [](std::uint8_t byte) { return byte != 0; }))
        throw GzipError("gzip data with something else behind them");
    return result;
}

Data gzip(DataView bytes)
{
    constexpr int memoryLevel = 8; // zlib's own
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipOnly, memoryLevel, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, deflateEnd);
    Data result;
    Data chunk(64 * 1024);
    int status = Z_OK;
    while (status != Z_STREAM_END) {
        if (stream.avail_in == 0) {
            const std::size_t count = std::min<std::size_t>(bytes.size(), std::numeric_limits<uInt>::max());
            stream.next_in = const_cast<Bytef*>(bytes.data()); // zlib reads only
            stream.avail_in = static_cast<uInt>(count);
            bytes = bytes.subspan(count);
        }
        stream.next_out = chunk.data();
        stream.avail_out = static_cast<uInt>(chunk.size());
        status = deflate(&stream, bytes.empty() ? Z_FINISH : Z_NO_FLUSH);
        result.insert(result.end(), chunk.data(), stream.next_out);
    }
    return result;
}

} // namespace vantorel::report
