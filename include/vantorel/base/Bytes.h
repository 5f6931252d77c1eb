// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <type_traits>

namespace VANTOREL_PUBLIC vantorel {
namespace base {

/// An unsigned integer as it lies in a little-endian byte image: `sizeof(T)` bytes of alignment 1.
/// Reads and writes work on any host, whatever its own byte order.
template <std::unsigned_integral T>
class LittleEndian {
public:
    constexpr LittleEndian() = default;
    constexpr LittleEndian(T value) // NOLINT(google-explicit-constructor): a field reads and writes like its integer
    {
        if constexpr (std::endian::native == std::endian::little)
            bytes_ = std::bit_cast<Bytes>(value);
        else
            for (std::size_t i = 0; i < sizeof(T); ++i)
                bytes_[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }

    constexpr operator T() const // NOLINT(google-explicit-constructor)
    {
        if constexpr (std::endian::native == std::endian::little)
            return std::bit_cast<T>(bytes_);
        T value = 0;
        for (std::size_t i = sizeof(T); i-- > 0;)
            value = static_cast<T>(static_cast<std::uint64_t>(value) << 8 | bytes_[i]);
        return value;
    }

private:
    using Bytes = std::array<std::uint8_t, sizeof(T)>;
    Bytes bytes_{};
};

} // namespace base
} // namespace vantorel

namespace VANTOREL_PUBLIC vantorel {

using le16 = base::LittleEndian<std::uint16_t>;
using le32 = base::LittleEndian<std::uint32_t>;
using le64 = base::LittleEndian<std::uint64_t>;

static_assert(sizeof(le16) == 2 && alignof(le16) == 1);
static_assert(sizeof(le32) == 4 && alignof(le32) == 1);
static_assert(sizeof(le64) == 8 && alignof(le64) == 1);

/// A byte image: made of bytes and little-endian fields only, so that any bytes are a valid value of it.
template <typename T>
concept ByteImage = std::is_trivially_copyable_v<T> && alignof(T) == 1;

/// The one road from foreign bytes to a record: a copy of the first `sizeof(T)` bytes, absent when there are fewer.
/// Bytes behind the record are not looked at.
template <ByteImage T>
[[nodiscard]] std::optional<T> readRecord(DataView bytes)
{
    if (bytes.size() < sizeof(T))
        return std::nullopt;
    std::optional<T> record(std::in_place);
    std::memcpy(&*record, bytes.data(), sizeof(T));
    return record;
}

/// The bytes of a record, as a new buffer.
template <ByteImage T>
[[nodiscard]] Data recordBytes(const T& record)
{
    Data bytes(sizeof(T));
    std::memcpy(bytes.data(), &record, sizeof(T));
    return bytes;
}

} // namespace vantorel
