// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {
namespace base {

/// A UUID of 16 bytes in the order of its text (RFC 4122 network order).
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    /// Reads the form `08ABE21C-20D4-11D6-8DF6-0003935A76B2`, letters in either case.
    /// Absent for any other text, surrounding blanks and braces included.
    [[nodiscard]] static std::optional<Uuid> parse(std::string_view text);

    /// The 36-character form in upper case.
    [[nodiscard]] std::string text() const;

    auto operator<=>(const Uuid&) const = default;
};

} // namespace base
} // namespace vantorel
