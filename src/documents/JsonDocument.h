// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel {

using Json = nlohmann::ordered_json;

/// The first member of every document: the number of the form that docs/json.md tells. It changes when a key goes or
/// gets another meaning, not when one is added.
inline constexpr int documentFormat = 1;

/// The text of a value. Bytes that are no UTF-8 come out as U+FFFD.
[[nodiscard]] std::string jsonText(const Json& value);

/// The text of a document on one line, line end included.
[[nodiscard]] std::string jsonLine(const Json& document);

/// An object that is put together from values and from texts that are JSON already, which pass through unchanged: the
/// numbers in them may have more digits than a `Json` keeps.
class JsonObject {
public:
    JsonObject() = default;
    /// Begins with the members of `object`.
    explicit JsonObject(const Json& object);

    void put(std::string_view key, const Json& value) { splice(key, jsonText(value)); }
    /// Nothing happens for a value that is absent.
    template <typename T>
    void put(std::string_view key, const std::optional<T>& value)
    {
        if (value)
            put(key, Json(*value));
    }
    void splice(std::string_view key, std::string_view json);

    [[nodiscard]] std::string text() const { return text_ + '}'; }

private:
    std::string text_ = "{";
};

/// An array of texts that are JSON already.
[[nodiscard]] std::string jsonArray(const std::vector<std::string>& elements);

} // namespace vantorel
