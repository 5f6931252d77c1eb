// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Uuid.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel {

/// The table under a key when every value in it is a `T`; absent when it is missing or of any other type.
template <typename T>
[[nodiscard]] std::optional<std::map<std::string, T, std::less<>>> tableOf(const PropertyTable& info,
                                                                           std::string_view key)
{
    const PropertyValue* const value = info.lookUp(key);
    const PropertyTable* const table = value ? value->table() : nullptr;
    if (!table)
        return std::nullopt;
    std::map<std::string, T, std::less<>> typed;
    for (const auto& entry : *table) {
        std::optional<T> held = entry.second.template get<T>();
        if (!held)
            return std::nullopt;
        typed.emplace_hint(typed.end(), entry.first, *std::move(held));
    }
    return typed;
}

/// The texts of the array under a key; absent when it is missing, of another type or holds anything but text.
[[nodiscard]] std::optional<std::vector<std::string>> textsOf(const PropertyTable& info, std::string_view key);

/// The UUID that a text under a key reads as; absent when the key is missing, of another type or no UUID.
[[nodiscard]] std::optional<base::Uuid> uuidFromText(const PropertyTable& info, std::string_view key);

/// Takes over the UUID value under a key. Without the key the field keeps what it had, and so it does for a value of
/// another type. Listings of registries write UUID values as text: a text under the key counts as the UUID it reads as.
void loadUuid(const PropertyTable& info, std::string_view key, std::optional<base::Uuid>& field);

} // namespace vantorel
