// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/compression/Compression.h"

#include "vantorel/compression/CompressionStream.h"

#include <algorithm>
#include <new>
#include <stdexcept>

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
        compression_stream_in_place(&record);
    }
    ~Stream() { compression_stream_destroy(&record); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    compression_stream record;
};

/// How much to set aside for a result of which `size` bytes are there, so that it is seldom moved: what the stream
/// claims its whole size to be; or else the rest of the input is taken to become what it became so far, up to four
/// times its size. Both are believed within limits: nothing large is set aside before much came out, and nothing huge
/// ever.
std::size_t likelySize(std::size_t size, std::uint64_t claimed, std::size_t inputUsed, std::size_t inputLeft)
{
    constexpr double atFirst = 512 << 10;
    constexpr double much = 16 << 20;
    constexpr double mostRate = 4;
    const auto known = static_cast<double>(size);
    const double rate = inputUsed == 0 ? mostRate : std::min(1.02 * known / static_cast<double>(inputUsed), mostRate);
    const double likely = claimed > 0 ? static_cast<double>(claimed) : known + rate * static_cast<double>(inputLeft);
    const double trusted = atFirst + (claimed > 0 ? 64 : 16) * std::min(known, much);
    return static_cast<std::size_t>(std::max(1.5 * known, std::min(likely, trusted)));
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
    const std::uint64_t claimed = compression_stream_claimed_size(&record);
    for (std::size_t size = 0;;) {
        // The block lies at the end of what was put out, so that its bytes need not be moved once more.
        if (const std::size_t room = blockSize + COMPRESSION_STREAM_AHEAD; result.size() - size < room) {
            // Cleared as it comes into use, in pieces that are small enough to be still in the processor's cache.
            const std::size_t piece = room + COMPRESSION_STREAM_AHEAD;
            if (result.capacity() - size < piece)
                result.reserve(piece + likelySize(size, claimed, data.size() - record.src_size, record.src_size));
            result.resize(size + piece);
        }
        record.dst_ptr = result.data() + size;
        record.dst_size = blockSize;
        const compression_status status = compression_stream_process(&record, flags);
        // A block that is not full although the stream goes on: the input stops before the end of its stream.
        if (status == COMPRESSION_STATUS_ERROR || (status == COMPRESSION_STATUS_OK && record.dst_size > 0))
            throw CompressionError(CompressionError::processError);
        size += blockSize - record.dst_size;
        if (status == COMPRESSION_STATUS_END) {
            result.resize(size);
            if (result.capacity() / 2 > size)
                result.shrink_to_fit();
            return result;
        }
    }
}

Data checked(DataView data, CompressionAlgorithm algorithm, Operation operation, std::ptrdiff_t bufferSize)
try {
    return process(data, algorithm, operation, bufferSize);
} catch (const std::bad_alloc&) {
    throw CompressionError(CompressionError::processError);
} catch (const std::length_error&) { // a block size beyond all memory
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
