// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace VANTOREL_PUBLIC vantorel {

/// The texts of an enumeration that has raw values, one a case in the declared order: a `std::array` of
/// `std::string_view`. Specialised right under the enumeration; its cases are numbered from 0 without gaps.
template <typename E>
inline constexpr bool rawTexts = false;

/// The text of a case. `value` is one of the declared cases.
template <typename E>
[[nodiscard]] constexpr std::string_view rawValue(E value)
{
    return rawTexts<E>[static_cast<std::size_t>(value)];
}

/// The case with exactly this text, small and capital letters told apart; absent when there is none.
template <typename E>
[[nodiscard]] constexpr std::optional<E> fromRawValue(std::string_view text)
{
    for (std::size_t i = 0; i < rawTexts<E>.size(); ++i) {
        if (rawTexts<E>[i] == text)
            return static_cast<E>(i);
    }
    return std::nullopt;
}

} // namespace vantorel
