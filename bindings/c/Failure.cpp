// SPDX-License-Identifier: GPL-2.0-or-later
#include "Failure.h"

#include <algorithm>
#include <array>

namespace vantorel::c {

namespace {

// No memory is taken: it may be memory that was wanting.
thread_local std::array<char, 2048> lastText{};

/// Whether a byte is not the first one of a UTF-8 character.
bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

} // namespace

const char* lastError() noexcept
{
    return lastText.data();
}

void noteError(std::string_view text) noexcept
{
    std::size_t size = std::min(text.size(), lastText.size() - 1);
    while (size < text.size() && size > 0 && isContinuation(text[size]))
        --size;
    text.copy(lastText.data(), size);
    lastText[size] = '\0';
}

} // namespace vantorel::c
