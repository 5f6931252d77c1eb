// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"
#include "vantorel/base/Uuid.h"

#include <concepts>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

class PropertyValue;

/// Values in order.
using PropertyArray = std::vector<PropertyValue>;

/// A map from text to value, ordered by key, as registries, descriptions and property lists hold it.
class PropertyTable : public std::map<std::string, PropertyValue, std::less<>> {
public:
    using std::map<std::string, PropertyValue, std::less<>>::map;

    /// The value under `key`; nothing when the key is missing. Never throws. Owned by the table.
    [[nodiscard]] const PropertyValue* lookUp(std::string_view key) const;

    /// The value under `key` as a `T`; absent when the key is missing or holds another type. Never throws.
    template <typename T>
    [[nodiscard]] std::optional<T> get(std::string_view key) const;
};

/// One value of the property world: null, boolean, integer, real, text, data, UUID, array or table.
///
/// Integers hold every signed and every unsigned 64-bit number: from -2^63 to 2^64 - 1. A value is a plain
/// value: copies are deep and share nothing.
class PropertyValue {
public:
    enum class Type { null, boolean, integer, real, text, data, uuid, array, table };

    PropertyValue() = default;
    PropertyValue(std::nullptr_t) {}                                      // NOLINT(google-explicit-constructor)
    PropertyValue(bool value) : value_(value) {}                          // NOLINT(google-explicit-constructor)
    PropertyValue(double value) : value_(value) {}                        // NOLINT(google-explicit-constructor)
    PropertyValue(std::string value) : value_(std::move(value)) {}        // NOLINT(google-explicit-constructor)
    PropertyValue(std::string_view value) : value_(std::string(value)) {} // NOLINT(google-explicit-constructor)
    PropertyValue(const char* value) : value_(std::string(value)) {}      // NOLINT(google-explicit-constructor)
    PropertyValue(Data value) : value_(std::move(value)) {}               // NOLINT(google-explicit-constructor)
    PropertyValue(base::Uuid value) : value_(value) {}                    // NOLINT(google-explicit-constructor)
    PropertyValue(PropertyArray value) : value_(std::move(value)) {}      // NOLINT(google-explicit-constructor)
    PropertyValue(PropertyTable value) : value_(std::move(value)) {}      // NOLINT(google-explicit-constructor)

    template <std::integral T>
    requires(!std::same_as<T, bool>) PropertyValue(T value) // NOLINT(google-explicit-constructor)
    {
        if (std::in_range<std::int64_t>(value))
            value_ = static_cast<std::int64_t>(value);
        else
            value_ = static_cast<std::uint64_t>(value);
    }

    [[nodiscard]] Type type() const;
    [[nodiscard]] bool isNull() const { return std::holds_alternative<std::monostate>(value_); }

    /// The value held in place, for the kinds that own memory; nothing when it is of another kind.
    [[nodiscard]] const std::string* text() const { return std::get_if<std::string>(&value_); }
    [[nodiscard]] const Data* data() const { return std::get_if<Data>(&value_); }
    [[nodiscard]] const PropertyArray* array() const { return std::get_if<PropertyArray>(&value_); }
    [[nodiscard]] const PropertyTable* table() const { return std::get_if<PropertyTable>(&value_); }
    [[nodiscard]] PropertyArray* array() { return std::get_if<PropertyArray>(&value_); }
    [[nodiscard]] PropertyTable* table() { return std::get_if<PropertyTable>(&value_); }

    /// A copy of the value as a `T`, absent when it is of another type. An integer that does not fit `T` is absent;
    /// a boolean is no number; a real is no integer, but an integer is also a `double`.
    template <typename T>
    [[nodiscard]] std::optional<T> get() const
    {
        if constexpr (std::integral<T> && !std::same_as<T, bool>) {
            if (const auto* number = std::get_if<std::int64_t>(&value_); number && std::in_range<T>(*number))
                return static_cast<T>(*number);
            if (const auto* number = std::get_if<std::uint64_t>(&value_); number && std::in_range<T>(*number))
                return static_cast<T>(*number);
            return std::nullopt;
        } else if constexpr (std::same_as<T, double>) {
            if (const auto* number = std::get_if<double>(&value_))
                return *number;
            if (const auto* number = std::get_if<std::int64_t>(&value_))
                return static_cast<double>(*number);
            if (const auto* number = std::get_if<std::uint64_t>(&value_))
                return static_cast<double>(*number);
            return std::nullopt;
        } else {
            const T* const held = std::get_if<T>(&value_);
            return held ? std::optional<T>(*held) : std::nullopt;
        }
    }

    bool operator==(const PropertyValue&) const = default;

private:
    // An integer is a uint64_t only when it lies beyond the range of int64_t, so that equal numbers compare equal.
    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, Data, base::Uuid,
                 PropertyArray, PropertyTable>
        value_;
};

template <typename T>
std::optional<T> PropertyTable::get(std::string_view key) const
{
    const PropertyValue* const value = lookUp(key);
    return value ? value->get<T>() : std::nullopt;
}

} // namespace vantorel
