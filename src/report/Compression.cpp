// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/report/Compression.h"

#include "vantorel/system/CompressionStream.h"

#include <algorithm>
#include <new>

namespace vantorel {

namespace {

using namespace system;

enum class Operation { compression, decompression };

/// A stream between its setting up and its end, however that comes.
class Stream {
public:
    Stream(CompressionAlgorithm algorithm, Operation operation)
    {
        const auto direction =
            operation == Operation::compression ? COMPRESSION_STREAM_ENCODE : COMPRESSION_STREAM_DECODE;
        if (compression_stream_init(&record, direction, static_cast<compression_algorithm>(algorithm)) ==
            COMPRESSION_STATUS_ERROR)
            throw CompressionError(CompressionError::initError);
    }
    ~Stream() { compression_stream_destroy(&record); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    compression_stream record;
};

/// Sees to room for `count` more bytes, with regard to how far the input got: the result will grow by about as much as
/// it did so far. That is no more than a guess, so it counts within limits only: half as much again at least, so that
/// the result is not moved too often; and eight times at most, whatever the input promises.
void makeRoom(Data& result, std::size_t count, double inputUsed)
{
    if (result.capacity() - result.size() >= count)
        return;
    const auto size = static_cast<double>(result.size());
    const double guess = inputUsed > 0 ? 1.02 * size / inputUsed : 0;
    result.reserve(static_cast<std::size_t>(std::clamp(guess, 1.5 * size, 8 * size)) + count);
}

Data process(DataView data, CompressionAlgorithm algorithm, Operation operation, std::ptrdiff_t bufferSize)
{
    if (data.empty())
        throw CompressionError(CompressionError::emptyData);
    if (bufferSize <= 0)
        throw CompressionError(CompressionError::initError);
    const auto blockSize = static_cast<std::size_t>(bufferSize);
    const int flags = operation == Operation::compression ? COMPRESSION_STREAM_FINALIZE : 0;

    Data result;
    Stream stream(algorithm, operation);
    compression_stream& record = stream.record;
    record.src_ptr = data.data();
    record.src_size = data.size();
    for (;;) {
        // The block lies at the end of the result, so that its bytes need not be moved once more.
        const std::size_t size = result.size();
        makeRoom(result, blockSize, 1 - static_cast<double>(record.src_size) / static_cast<double>(data.size()));
        result.resize(size + blockSize);
        record.dst_ptr = result.data() + size;
        record.dst_size = blockSize;
        const compression_status status = compression_stream_process(&record, flags);
        // A block that is not full although the stream goes on: the input stops before the end of its stream.
        if (status == COMPRESSION_STATUS_ERROR || (status == COMPRESSION_STATUS_OK && record.dst_size > 0))
            throw CompressionError(CompressionError::processError);
        result.resize(result.size() - record.dst_size);
        if (status == COMPRESSION_STATUS_END)
            return result;
    }
}

Data checked(DataView data, CompressionAlgorithm algorithm, Operation operation, std::ptrdiff_t bufferSize)
try {
    return process(data, algorithm, operation, bufferSize);
} catch (const std::bad_alloc&) {
    throw CompressionError(CompressionError::processError);
}

} // namespace

const char* CompressionError::what() const noexcept
{
    switch (reason_) {
    case emptyData:
        return "emptyData";
    case initError:
        return "initError";
    case processError:
        return "processError";
    }
    return "";
}

std::optional<Data> compress(DataView data, CompressionAlgorithm algorithm, std::ptrdiff_t bufferSize)
{
    return checked(data, algorithm, Operation::compression, bufferSize);
}

std::optional<Data> decompress(DataView data, CompressionAlgorithm algorithm, std::ptrdiff_t bufferSize)
{
    return checked(data, algorithm, Operation::decompression, bufferSize);
}

} // namespace vantorel
