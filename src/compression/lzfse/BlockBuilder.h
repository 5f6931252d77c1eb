// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "EntropyWriter.h"
#include "Match.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vantorel::system::compression::lzfse {

/// Collects matches and their literals until a block is full, and writes blocks.
class BlockBuilder {
public:
    /// `textSize`: of the whole text, or however much there is at once of a longer one.
    explicit BlockBuilder(std::uint32_t textSize);

    /// The most bytes a finished block of so much text has.
    [[nodiscard]] static std::size_t maxBlock(std::uint32_t textSize);

    /// Bytes to be added: literals, then a match.
    struct Run {
        const std::uint8_t* bytes = nullptr; ///< null: nothing to be added
        std::uint32_t literals = 0;
        std::uint32_t length = 0; ///< of the match behind the literals; 0: none
        std::uint32_t distance = 0;
        std::uint32_t readable = 0; ///< bytes from `bytes` on that may be read
    };

    /// Adds as much of `run` as the block has room for and takes that off it. Whether it was everything.
    bool add(Run& run);

    [[nodiscard]] bool empty() const { return plainSize_ == 0; }

    /// How many bytes the block stands for.
    [[nodiscard]] std::uint32_t plainSize() const { return plainSize_; }

    /// Appends the block to `out`, entropy coded or, when that is not smaller, as the plain bytes it stands for, and
    /// starts the next. `plain` is where these lie; a block of more than `maxBlock` bytes does not need them.
    void finish(const std::uint8_t* plain, Outgoing& out);

private:
    std::unique_ptr<Match[]> matches_;
    std::unique_ptr<std::uint8_t[]> literals_;
    std::uint32_t matchCount_ = 0;
    std::uint32_t literalCount_ = 0;
    std::uint32_t plainSize_ = 0;
};

} // namespace vantorel::system::compression::lzfse
