// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Codec.h"
#include "vantorel/base/Bytes.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace vantorel::system::compression {

/// Bytes of the source that are only of use together. They are read where they lie when the source has all of them, and
/// else kept until all of them are here.
class Gathered {
public:
    /// `slack` bytes behind the capacity may be read, whatever they hold.
    explicit Gathered(std::size_t capacity, std::size_t slack = 0) : capacity_(capacity), slack_(slack) {}

    /// Takes from the source until `count` bytes, at most the capacity, are here; whether they are.
    bool gather(compression_stream& stream, std::size_t count)
    {
        assert(count <= capacity_);
        if (size_ >= count)
            return true;
        if (count > allocated_)
            allocate(count);
        size_ += takeSource(stream, bytes_.get() + size_, count - size_);
        return size_ >= count;
    }

    /// The next `count` bytes: in the source, if nothing was gathered and it goes on for `behind` bytes more; gathered
    /// otherwise; null as long as they are not all there. They are not used up before they are passed.
    [[nodiscard]] const std::uint8_t* look(compression_stream& stream, std::size_t count, std::size_t behind = 0)
    {
        if (size_ == 0 && stream.src_size >= count + behind)
            return stream.src_ptr;
        return gather(stream, count) ? bytes_.get() : nullptr;
    }

    /// Uses up what `look` gave for the same count.
    void pass(compression_stream& stream, std::size_t count)
    {
        if (size_ == 0)
            passSource(stream, count);
        clear();
    }

    /// Drops the first `count` bytes gathered.
    void drop(std::size_t count)
    {
        size_ -= count;
        std::memmove(bytes_.get(), bytes_.get() + count, size_);
    }

    void clear() { size_ = 0; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] DataView view() const { return {bytes_.get(), size_}; }

private:
    /// Headers alone need little, so the whole capacity is not set aside before a payload is gathered.
    void allocate(std::size_t count)
    {
        constexpr std::size_t little = 1024;
        allocated_ = count <= little ? std::min(little, capacity_) : capacity_;
        auto bytes = std::make_unique_for_overwrite<std::uint8_t[]>(allocated_ + slack_);
        if (size_ > 0)
            std::memcpy(bytes.get(), bytes_.get(), size_);
        bytes_ = std::move(bytes);
    }

    std::size_t capacity_;
    std::size_t slack_;
    std::size_t allocated_ = 0;
    std::size_t size_ = 0;
    std::unique_ptr<std::uint8_t[]> bytes_;
};

/// What an encoder has made and the destination has not taken yet.
class Outgoing {
public:
    explicit Outgoing(std::size_t capacity)
        : capacity_(capacity), bytes_(std::make_unique_for_overwrite<std::uint8_t[]>(capacity))
    {}

    /// Where the next byte goes; what is written there is then declared by `grow`.
    [[nodiscard]] std::uint8_t* next() { return bytes_.get() + size_; }
    [[nodiscard]] std::size_t room() const { return capacity_ - size_; }
    void grow(std::size_t count)
    {
        assert(count <= room());
        size_ += count;
    }

    void append(const std::uint8_t* from, std::size_t count)
    {
        assert(count <= room());
        if (count > 0)
            std::memcpy(next(), from, count);
        grow(count);
    }

    template <ByteImage T>
    void append(const T& record)
    {
        assert(sizeof record <= room());
        std::memcpy(next(), &record, sizeof record);
        grow(sizeof record);
    }

    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] std::size_t size() const { return size_; }

    /// Drops what was appended behind the first `size` bytes.
    void cut(std::size_t size) { size_ = size; }

    /// Hands out what the destination takes; whether that was all.
    bool drain(compression_stream& stream)
    {
        taken_ += giveDestination(stream, bytes_.get() + taken_, size_ - taken_);
        if (taken_ < size_)
            return false;
        taken_ = size_ = 0;
        return true;
    }

private:
    std::size_t capacity_;
    std::size_t taken_ = 0;
    std::size_t size_ = 0;
    std::unique_ptr<std::uint8_t[]> bytes_;
};

} // namespace vantorel::system::compression
