// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/Uuid.h"

#include <charconv>

namespace vantorel::base {

namespace {

constexpr std::size_t textLength = 36;

constexpr bool isHyphenPlace(std::size_t i)
{
    return i == 8 || i == 13 || i == 18 || i == 23;
}

} // namespace

std::optional<Uuid> Uuid::parse(std::string_view text)
{
    if (text.size() != textLength)
        return std::nullopt;
    Uuid uuid;
    std::size_t next = 0;
    for (std::size_t i = 0; i < textLength;) {
        if (isHyphenPlace(i)) {
            if (text[i] != '-')
                return std::nullopt;
            ++i;
            continue;
        }
        const char* const digits = text.data() + i;
        const auto [end, error] = std::from_chars(digits, digits + 2, uuid.bytes[next++], 16);
        if (error != std::errc() || end != digits + 2)
            return std::nullopt;
        i += 2;
    }
    return uuid;
}

std::string Uuid::text() const
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(textLength);
    for (const std::uint8_t byte : bytes) {
        if (isHyphenPlace(text.size()))
            text += '-';
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace vantorel::base
