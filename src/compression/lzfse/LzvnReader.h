// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Lzvn.h"
#include "compression/SlidingWindow.h"
#include "compression/StreamBuffers.h"

#include <cstddef>
#include <cstdint>

namespace vantorel::system::compression::lzfse {

/// Expands one block of opcodes as they come in.
class LzvnReader {
public:
    enum class Result { more, starved, done, damaged };

    /// The most that one call of `decode` appends.
    static constexpr std::size_t room = SlidingWindow::batch + 2 * lzvnMost;

    void begin(std::uint32_t plainSize, std::uint32_t payloadSize);

    /// `gathered` is empty at the first call and left alone between calls; it is empty again after `done`.
    [[nodiscard]] Result decode(compression_stream& stream, Gathered& gathered, SlidingWindow& window);

private:
    [[nodiscard]] Result decodeOpcodes(DataView bytes, SlidingWindow& window, std::size_t& used);

    std::uint32_t plainLeft_ = 0;
    std::uint32_t payloadLeft_ = 0;
    std::uint32_t distance_ = 0; ///< of the match before; 0 before the first
};

} // namespace vantorel::system::compression::lzfse
