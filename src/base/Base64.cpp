// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/Base64.h"

#include <algorithm>
#include <array>

namespace vantorel::base {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t noDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> digitValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(noDigit);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        values[static_cast<std::uint8_t>(alphabet[i])] = static_cast<std::uint8_t>(i);
    return values;
}();

} // namespace

std::string base64(DataView bytes)
{
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (; !bytes.empty(); bytes = bytes.subspan(std::min<std::size_t>(3, bytes.size()))) {
        std::uint32_t group = std::uint32_t{bytes[0]} << 16;
        if (bytes.size() > 1)
            group |= std::uint32_t{bytes[1]} << 8;
        if (bytes.size() > 2)
            group |= bytes[2];
        text += alphabet[group >> 18];
        text += alphabet[group >> 12 & 63];
        text += bytes.size() > 1 ? alphabet[group >> 6 & 63] : '=';
        text += bytes.size() > 2 ? alphabet[group & 63] : '=';
    }
    return text;
}

std::optional<Data> fromBase64(std::string_view text)
{
    if (text.size() % 4 != 0)
        return std::nullopt;
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    const std::string_view digits = text.substr(0, text.size() - padding);

    Data bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (const char c : digits) {
        const std::uint8_t value = digitValues[static_cast<std::uint8_t>(c)];
        if (value == noDigit)
            return std::nullopt;
        bits = bits << 6 | value;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<std::uint8_t>(bits >> count));
            bits &= (1U << count) - 1;
        }
    }
    if (bits != 0)
        return std::nullopt;
    return bytes;
}

} // namespace vantorel::base
