// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/compression/Compression.h"

#include "WholeDeflate.h"
#include "vantorel/compression/CompressionStream.h"

#include <algorithm>
#include <memory>
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

/// No larger block is set aside, however large one is asked for.
constexpr std::size_t mostOfABlock = 65536;

/// What a stream puts its blocks into: the result, and room behind the block that a decoder may write.
class Growth {
public:
    Growth(std::size_t blockSize, Operation operation)
        : blockSize_(blockSize), room_(blockSize + (operation == Operation::compression ? 0 : COMPRESSION_STREAM_AHEAD))
    {}

    /// Where the next block goes. `likely` is what the whole result may come to.
    std::uint8_t* block(std::size_t likely)
    {
        if (size_ == 0 && likely <= blockSize_)
            return small();
        if (result_.size() < size_ + room_) {
            // Cleared as it comes into use, in pieces that are small enough to be still in the processor's cache.
            const std::size_t piece = room_ + COMPRESSION_STREAM_AHEAD;
            if (result_.capacity() < size_ + piece)
                result_.reserve(std::max(likely, size_ + size_ / 2) + piece);
            if (small_)
                result_.assign(small_.get(), small_.get() + room_);
            small_.reset();
            result_.resize(size_ + piece);
        }
        return result_.data() + size_;
    }

    /// Declares the first `count` bytes of the block put out.
    void grow(std::size_t count) { size_ += count; }
    [[nodiscard]] std::size_t size() const { return size_; }

    Data finish()
    {
        if (small_)
            return {small_.get(), small_.get() + size_};
        result_.resize(size_);
        if (result_.capacity() / 2 > size_)
            result_.shrink_to_fit();
        return std::move(result_);
    }

private:
    /// Memory that need not be cleared, for a result of one block.
    std::uint8_t* small()
    {
        small_ = std::make_unique_for_overwrite<std::uint8_t[]>(room_);
        return small_.get();
    }

    std::size_t blockSize_;
    std::size_t room_; ///< of a block
    std::size_t size_ = 0;
    std::unique_ptr<std::uint8_t[]> small_;
    Data result_;
};

/// What a result may come to of which `size` bytes are there: what the stream claims; or else the rest of the input is
/// taken to become what it became so far, up to `mostRate` times its size. Both are believed within limits: nothing
/// large is set aside before much came out, and nothing huge ever.
std::size_t likelySize(std::size_t size, std::uint64_t claimed, std::size_t inputUsed, std::size_t inputLeft,
                       double mostRate)
{
    constexpr double atFirst = 512 << 10;
    constexpr double much = 16 << 20;
    const auto known = static_cast<double>(size);
    const double rate = inputUsed == 0 ? mostRate : std::min(1.02 * known / static_cast<double>(inputUsed), mostRate);
    const double likely = claimed > 0 ? static_cast<double>(claimed) : known + rate * static_cast<double>(inputLeft);
    const double trusted = atFirst + (claimed > 0 ? 64 : 16) * std::min(known, much);
    return static_cast<std::size_t>(std::min(likely, trusted));
}

Data process(DataView data, CompressionAlgorithm algorithm, Operation operation, std::ptrdiff_t bufferSize)
{
    if (data.empty())
        throw CompressionError(CompressionError::emptyData);
    if (bufferSize <= 0)
        throw CompressionError(CompressionError::initError);
    if (algorithm == CompressionAlgorithm::zlib) {
        if (operation == Operation::compression)
            return compression::deflateWhole(data);
        if (auto plain = compression::inflateWhole(data))
            return *std::move(plain);
    }
    const std::size_t blockSize = std::min(static_cast<std::size_t>(bufferSize), mostOfABlock);
    const int flags = operation == Operation::compression ? COMPRESSION_STREAM_FINALIZE : 0;
    const double mostRate = operation == Operation::compression ? 1 : 4;

    Stream stream(algorithm, operation);
    compression_stream& record = stream.record;
    record.src_ptr = data.data();
    record.src_size = data.size();
    const std::uint64_t claimed = compression_stream_claimed_size(&record);
    for (Growth growth(blockSize, operation);;) {
        record.dst_ptr =
            growth.block(likelySize(growth.size(), claimed, data.size() - record.src_size, record.src_size, mostRate));
        record.dst_size = blockSize;
        const compression_status status = compression_stream_process(&record, flags);
        // A block that is not full although the stream goes on: the input stops before the end of its stream.
        if (status == COMPRESSION_STATUS_ERROR || (status == COMPRESSION_STATUS_OK && record.dst_size > 0))
            throw CompressionError(CompressionError::processError);
        growth.grow(blockSize - record.dst_size);
        if (status == COMPRESSION_STATUS_END)
            return growth.finish();
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
