// SPDX-License-Identifier: GPL-2.0-or-later
#include "NameUuid.h"

#include "vantorel/base/Data.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace vantorel::machines {

namespace {

constexpr base::Uuid vantorelSpace{
    {0x6E, 0x1C, 0x0B, 0x52, 0x7D, 0x7F, 0x4A, 0x35, 0x9B, 0x0E, 0x41, 0xD7, 0xF6, 0x8A, 0x2C, 0x93}};

using Digest = std::array<std::uint32_t, 5>;

constexpr std::size_t blockBytes = 64;

/// One round of FIPS 180-4, section 6.1.2.
void addBlock(Digest& digest, const std::uint8_t* block)
{
    std::array<std::uint32_t, 80> words{};
    for (std::size_t i = 0; i < 16; ++i) {
        for (std::size_t byte = 0; byte < 4; ++byte)
            words[i] = words[i] << 8U | block[i * 4 + byte];
    }
    for (std::size_t i = 16; i < words.size(); ++i)
        words[i] = std::rotl(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);

    auto [a, b, c, d, e] = digest;
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::uint32_t mixed = 0;
        if (i < 20)
            mixed = ((b & c) | (~b & d)) + 0x5A827999U;
        else if (i < 40)
            mixed = (b ^ c ^ d) + 0x6ED9EBA1U;
        else if (i < 60)
            mixed = ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDCU;
        else
            mixed = (b ^ c ^ d) + 0xCA62C1D6U;
        const std::uint32_t next = std::rotl(a, 5) + mixed + e + words[i];
        e = d;
        d = c;
        c = std::rotl(b, 30);
        b = a;
        a = next;
    }
    const Digest sums{a, b, c, d, e};
    for (std::size_t i = 0; i < digest.size(); ++i)
        digest[i] += sums[i];
}

Digest sha1(Data message)
{
    const std::uint64_t bits = std::uint64_t{message.size()} * 8;
    message.push_back(0x80);
    message.resize((message.size() + 8 + blockBytes - 1) / blockBytes * blockBytes);
    for (std::size_t i = 0; i < 8; ++i)
        message[message.size() - 1 - i] = static_cast<std::uint8_t>(bits >> (8 * i));
    Digest digest{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    for (std::size_t offset = 0; offset < message.size(); offset += blockBytes)
        addBlock(digest, message.data() + offset);
    return digest;
}

} // namespace

base::Uuid nameUuid(const base::Uuid& nameSpace, std::string_view name)
{
    Data message(nameSpace.bytes.begin(), nameSpace.bytes.end());
    message.insert(message.end(), name.begin(), name.end());
    const Digest digest = sha1(std::move(message));
    base::Uuid uuid;
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i)
        uuid.bytes[i] = static_cast<std::uint8_t>(digest[i / 4] >> (24 - 8 * (i % 4)));
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0FU) | 0x50U); // version 5
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3FU) | 0x80U); // variant of RFC 9562
    return uuid;
}

base::Uuid nameUuid(std::string_view name)
{
    return nameUuid(vantorelSpace, name);
}

} // namespace vantorel::machines
