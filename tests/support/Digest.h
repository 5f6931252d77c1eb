// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

namespace vantorel::test {

/// A digest over the texts of a table in their order (FNV-1a, 64 bits): one letter elsewhere gives another one.
class Digest {
public:
    Digest& operator<<(std::string_view text)
    {
        for (const char c : text)
            take(static_cast<std::uint8_t>(c));
        take(0xFF); // behind each text: no UTF-8 holds it
        return *this;
    }

    [[nodiscard]] std::uint64_t value() const { return value_; }

private:
    void take(std::uint8_t byte) { value_ = (value_ ^ byte) * 0x100000001B3; }

    std::uint64_t value_ = 0xCBF29CE484222325;
};

} // namespace vantorel::test
