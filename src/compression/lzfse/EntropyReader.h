// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "EntropyHeader.h"
#include "compression/SlidingWindow.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace vantorel::system::compression::lzfse {

/// Expands one entropy-coded block: all of its literals first, then match after match as the window has room.
class EntropyReader {
public:
    enum class Result { more, done, damaged };

    /// The most that one call of `decode` appends.
    static constexpr std::size_t room = SlidingWindow::batch + maxLiteralCount + maxLength;

    /// How many bytes behind the payloads are read, whatever they hold.
    static constexpr std::size_t readBehind = 1;

    /// `header` is plausible. `payload` holds both payloads, stays until the block is done, and has 8 readable bytes
    /// before it and `readBehind` behind. False when the block is damaged.
    [[nodiscard]] bool begin(const EntropyHeader& header, const std::uint8_t* payload);

    [[nodiscard]] Result decode(SlidingWindow& window);

private:
    [[nodiscard]] bool makeTables(const EntropyHeader& header);
    [[nodiscard]] bool readLiterals(const EntropyHeader& header, DataView payload);
    [[nodiscard]] bool isWholesome() const;

    /// How many states of each automaton belong to a symbol. Those behind them are never left, so one look at the end
    /// tells whether a state without a symbol was ever entered.
    std::size_t usedLiteralCountStates_ = 0;
    std::size_t usedLengthStates_ = 0;
    std::size_t usedDistanceStates_ = 0;
    std::size_t usedLiteralStates_ = 0;

    /// Where the expansion stands.
    struct Progress {
        BackwardBitReader bits{{}};
        std::uint32_t literalCountState = 0;
        std::uint32_t lengthState = 0;
        std::uint32_t distanceState = 0;
        std::uint32_t distance = 0; ///< of the match before; 0 before the first
        std::uint32_t matchesLeft = 0;
        std::uint32_t plainLeft = 0;
        std::uint32_t literalsLeft = 0;
    };

    Progress progress_;
    std::uint32_t literalCount_ = 0;

    std::array<ValueEntry, literalCountStates> literalCountTable_;
    std::array<ValueEntry, lengthStates> lengthTable_;
    std::array<ValueEntry, distanceStates> distanceTable_;
    std::array<LiteralEntry, literalStates> literalTable_;
    std::array<std::uint8_t, maxLiterals + overshoot> literals_;
};

} // namespace vantorel::system::compression::lzfse
