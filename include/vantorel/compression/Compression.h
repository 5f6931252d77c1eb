// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>

namespace VANTOREL_PUBLIC vantorel {

/// The four algorithms, whose streams are those that Macs read and write. A result carries no mark of its own: who
/// expands it has to know the algorithm that made it.
enum class CompressionAlgorithm : std::uint16_t {
    lz4 = 0x100,   ///< LZ4 blocks in a frame: fastest
    zlib = 0x205,  ///< raw deflate (RFC 1951) without header and checksum
    lzma = 0x306,  ///< an .xz stream: smallest, slowest, and the only one with a checksum
    lzfse = 0x801, ///< the size and speed of deflate, and expands faster; see docs/formats/lzfse.md
};

/// What `compress` and `decompress` throw. Two errors of the same case are equal.
class CompressionError : public std::exception {
public:
    enum Case {
        emptyData,    ///< the input holds no bytes
        initError,    ///< no such algorithm or block size, or no memory for a stream
        processError, ///< the input is damaged or stops before the end of its stream, or memory ran out
    };

    CompressionError(Case reason) : reason_(reason) {} // NOLINT(google-explicit-constructor): stands for its case

    [[nodiscard]] Case reason() const { return reason_; }

    /// The name of the case.
    [[nodiscard]] const char* what() const noexcept override;

    friend bool operator==(const CompressionError& a, const CompressionError& b) { return a.reason_ == b.reason_; }

private:
    Case reason_;
};

/// Bytes of the output block where no other size is asked for.
inline constexpr std::ptrdiff_t defaultCompressionBufferSize = 4096;

/// The compressed form of `data`. The result grows by output blocks of `bufferSize` bytes, of which no more than 64 KiB
/// are set aside and which have no influence on what comes out. Memory beside input and result is the algorithm's own
/// (docs/performance.md), one block, and up to 128 KiB to work ahead of it; deflate holds the result twice for a
/// moment. The result is always present; its capacity is at most about twice its size. Throws `CompressionError`;
/// nothing partial comes back. Runs on the caller's thread and shares nothing with other calls. A `bufferSize` of 0 or
/// less is an `initError`.
[[nodiscard]] std::optional<Data> compress(DataView data, CompressionAlgorithm algorithm = CompressionAlgorithm::lzfse,
                                           std::ptrdiff_t bufferSize = defaultCompressionBufferSize);

/// The bytes that `compress` made `data` of; otherwise as told there. The result may be empty. Bytes behind the end of
/// the stream are not looked at.
[[nodiscard]] std::optional<Data> decompress(DataView data,
                                             CompressionAlgorithm algorithm = CompressionAlgorithm::lzfse,
                                             std::ptrdiff_t bufferSize = defaultCompressionBufferSize);

} // namespace vantorel

namespace std {

template <>
struct hash<vantorel::CompressionError> {
    std::size_t operator()(const vantorel::CompressionError& error) const noexcept
    {
        return std::hash<int>()(error.reason());
    }
};

} // namespace std
