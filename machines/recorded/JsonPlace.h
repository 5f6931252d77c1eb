// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/machines/recorded/Recording.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantorel::recorded {

/// A place in a JSON document: the value there, or none, and the path that leads to it. Asking for what is of another
/// type is a fault of the document, which is noted with its path; what is missing is no fault.
class JsonPlace {
public:
    JsonPlace(const PropertyValue* value, std::string path, const std::string& file, std::vector<Fault>& faults)
        : value_(value), path_(std::move(path)), file_(file), faults_(faults)
    {}

    [[nodiscard]] const std::string& path() const { return path_; }
    void fault(std::string what) const;

    [[nodiscard]] bool has(std::string_view key) const;
    [[nodiscard]] bool isArray() const { return value_ && value_->array(); }
    [[nodiscard]] bool isNumber() const { return value_ && value_->get<double>(); }
    [[nodiscard]] JsonPlace at(std::string_view key) const;
    [[nodiscard]] std::vector<std::string> keys() const;
    void expectKeys(std::initializer_list<std::string_view> known) const;
    /// Calls `visit` with each element of the array under `key`.
    void each(std::string_view key, const std::function<void(const JsonPlace&)>& visit) const;

    // The value here, or that of a member; absent when it is missing or of another type.
    [[nodiscard]] std::optional<std::string> words() const { return value<std::string>("no text"); }
    [[nodiscard]] std::optional<std::string> words(std::string_view key) const { return at(key).words(); }
    [[nodiscard]] std::optional<bool> truth(std::string_view key) const
    {
        return at(key).value<bool>("neither true nor false");
    }
    [[nodiscard]] std::optional<double> number(std::string_view key) const
    {
        return at(key).value<double>("no number");
    }
    [[nodiscard]] std::optional<std::uint64_t> count() const;
    [[nodiscard]] std::optional<std::uint64_t> count(std::string_view key) const { return at(key).count(); }

    /// The table here; empty when there is none.
    [[nodiscard]] PropertyTable table() const;
    /// The bytes of `{"base64": "…"}`; absent when something else stands here.
    [[nodiscard]] std::optional<Data> bytes() const;

private:
    template <typename T>
    [[nodiscard]] std::optional<T> value(const char* otherwise) const
    {
        if (!value_)
            return std::nullopt;
        std::optional<T> result = value_->get<T>();
        if (!result)
            fault(otherwise);
        return result;
    }

    const PropertyValue* value_;
    std::string path_;
    const std::string& file_;
    std::vector<Fault>& faults_;
};

} // namespace vantorel::recorded
