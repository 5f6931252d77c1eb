// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/compression/CompressionStream.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace vantorel::test {

/// Sends `input` through a stream in portions of up to `sourceSize` bytes, with a destination of `destinationSize`.
/// Absent when the stream reports an error, stops before its end or gives more than `most` bytes. The portions lie in
/// memory of exactly their size.
inline std::optional<Data> pump(system::compression_stream_operation operation, system::compression_algorithm algorithm,
                                DataView input, std::size_t sourceSize, std::size_t destinationSize,
                                std::size_t most = SIZE_MAX)
{
    system::compression_stream stream;
    if (system::compression_stream_init(&stream, operation, algorithm) != system::COMPRESSION_STATUS_OK)
        return std::nullopt;
    Data result;
    Data destination(destinationSize);
    for (;;) {
        const DataView portion = input.first(std::min(sourceSize, input.size()));
        input = input.subspan(portion.size());
        const Data source(portion.begin(), portion.end());
        stream.src_ptr = source.data();
        stream.src_size = source.size();
        do {
            stream.dst_ptr = destination.data();
            stream.dst_size = destination.size();
            const auto status =
                system::compression_stream_process(&stream, input.empty() ? system::COMPRESSION_STREAM_FINALIZE : 0);
            result.insert(result.end(), destination.data(), stream.dst_ptr);
            if (status == system::COMPRESSION_STATUS_END)
                return result;
            if (status != system::COMPRESSION_STATUS_OK || result.size() > most)
                return std::nullopt;
        } while (stream.src_size > 0 || stream.dst_size == 0);
    }
}

/// Sends `input` whole through a stream in place, by `destinationSize` bytes a call. The result lies in memory of
/// exactly the size that the stream may write, and moves before every call. Absent as above.
inline std::optional<Data> pumpInPlace(system::compression_stream_operation operation,
                                       system::compression_algorithm algorithm, DataView input,
                                       std::size_t destinationSize, std::size_t most = SIZE_MAX)
{
    system::compression_stream stream;
    if (system::compression_stream_init(&stream, operation, algorithm) != system::COMPRESSION_STATUS_OK ||
        system::compression_stream_in_place(&stream) != system::COMPRESSION_STATUS_OK)
        return std::nullopt;
    const Data source(input.begin(), input.end());
    stream.src_ptr = source.data();
    stream.src_size = source.size();
    const std::size_t ahead = operation == system::COMPRESSION_STREAM_DECODE ? system::COMPRESSION_STREAM_AHEAD : 0;
    Data result;
    for (std::size_t size = 0;;) {
        Data moved(size + destinationSize + ahead);
        std::copy(result.begin(), result.end(), moved.begin());
        result.swap(moved);
        stream.dst_ptr = result.data() + size;
        stream.dst_size = destinationSize;
        const auto status = system::compression_stream_process(&stream, system::COMPRESSION_STREAM_FINALIZE);
        size += destinationSize - stream.dst_size;
        if (status == system::COMPRESSION_STATUS_END) {
            result.resize(size);
            return result;
        }
        if (status != system::COMPRESSION_STATUS_OK || size > most)
            return std::nullopt;
    }
}

} // namespace vantorel::test
