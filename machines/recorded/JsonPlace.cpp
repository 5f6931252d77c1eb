// SPDX-License-Identifier: GPL-2.0-or-later
#include "JsonPlace.h"

#include "vantorel/base/Base64.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vantorel::recorded {

namespace {

using Json = nlohmann::json;

constexpr int deepest = 512;
constexpr std::string_view bytesKey = "base64";

PropertyValue convert(const Json& json)
{
    switch (json.type()) {
    case Json::value_t::boolean:
        return json.get<bool>();
    case Json::value_t::number_integer:
        return json.get<std::int64_t>();
    case Json::value_t::number_unsigned:
        return json.get<std::uint64_t>();
    case Json::value_t::number_float:
        return json.get<double>();
    case Json::value_t::string:
        return json.get<std::string>();
    case Json::value_t::array: {
        PropertyArray array;
        array.reserve(json.size());
        for (const Json& element : json)
            array.push_back(convert(element));
        return array;
    }
    case Json::value_t::object: {
        if (json.size() == 1 && json.begin().key() == bytesKey && json.begin()->is_string()) {
            if (std::optional<Data> bytes = base::fromBase64(json.begin()->get<std::string>()))
                return *std::move(bytes);
        }
        PropertyTable table;
        for (const auto& [key, value] : json.items())
            table.emplace(key, convert(value));
        return table;
    }
    default:
        return nullptr;
    }
}

/// The message of the parser without its own name and number in front: "parse error at line 1, column 2: …".
std::string withoutPrefix(const std::string& message)
{
    const std::size_t end = message.find("] ");
    return end == std::string::npos ? message : message.substr(end + 2);
}

} // namespace

JsonDocument::JsonDocument(DataView bytes, const std::string& file, std::vector<Fault>& faults)
    : file_(file), faults_(faults)
{
    int depth = 0;
    const auto watchDepth = [&depth](int level, Json::parse_event_t, Json&) {
        depth = std::max(depth, level);
        return level <= deepest; // what lies deeper is left out at once
    };
    try {
        const Json json = Json::parse(bytes.begin(), bytes.end(), watchDepth);
        if (depth > deepest)
            throw RecordingError(file + ": nested too deeply");
        if (!json.is_object())
            throw RecordingError(file + ": no JSON object");
        value_ = convert(json);
    } catch (const Json::exception& error) {
        throw RecordingError(file + ": " + withoutPrefix(error.what()));
    }
}

void JsonPlace::fault(std::string what) const
{
    faults_.push_back({file_, path_.empty() ? "top" : path_, std::move(what)});
}

bool JsonPlace::has(std::string_view key) const
{
    return value_ && value_->table() && value_->table()->contains(key);
}

JsonPlace JsonPlace::at(std::string_view key) const
{
    const PropertyTable* const table = value_ ? value_->table() : nullptr;
    std::string path = path_.empty() ? std::string(key) : path_ + "." + std::string(key);
    return {table ? table->lookUp(key) : nullptr, std::move(path), file_, faults_};
}

std::vector<std::string> JsonPlace::keys() const
{
    std::vector<std::string> keys;
    if (!value_)
        return keys;
    if (!value_->table()) {
        fault("no object");
        return keys;
    }
    for (const auto& [key, value] : *value_->table())
        keys.push_back(key);
    return keys;
}

void JsonPlace::expectKeys(std::initializer_list<std::string_view> known) const
{
    for (const std::string& key : keys()) {
        if (std::ranges::find(known, key) == known.end())
            at(key).fault("nothing of this name is known here");
    }
}

void JsonPlace::each(std::string_view key, const std::function<void(const JsonPlace&)>& visit) const
{
    const JsonPlace place = at(key);
    if (!place.value_)
        return;
    const PropertyArray* const array = place.value_->array();
    if (!array)
        return place.fault("no array");
    for (std::size_t i = 0; i < array->size(); ++i)
        visit({&(*array)[i], place.path_ + "[" + std::to_string(i) + "]", file_, faults_});
}

std::string JsonPlace::text() const
{
    if (!value_)
        return {};
    if (const auto number = value_->get<std::uint64_t>())
        return std::to_string(*number);
    return value_->text() ? *value_->text() : std::string();
}

PropertyTable JsonPlace::table() const
{
    if (value_ && value_->table())
        return *value_->table();
    fault("no object");
    return {};
}

std::optional<Data> JsonPlace::bytes() const
{
    return value_ ? value_->get<Data>() : std::nullopt;
}

} // namespace vantorel::recorded
