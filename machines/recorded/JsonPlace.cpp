// SPDX-License-Identifier: GPL-2.0-or-later
#include "JsonPlace.h"

#include <algorithm>
#include <cmath>

namespace vantorel::recorded {

void JsonPlace::fault(std::string what) const
{
    note(faults_, {file_, path_.empty() ? "top" : path_, std::move(what)});
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

PropertyTable JsonPlace::table() const
{
    if (value_ && value_->table())
        return *value_->table();
    fault("no object");
    return {};
}

std::optional<std::uint64_t> JsonPlace::count() const
{
    if (!value_)
        return std::nullopt;
    if (const auto number = value_->get<std::uint64_t>())
        return number;
    constexpr double end = 18446744073709551616.0;
    const auto number = value_->get<double>(); // JSON does not tell 1 and 1.0 apart
    if (number && *number >= 0 && *number < end && std::trunc(*number) == *number)
        return static_cast<std::uint64_t>(*number);
    fault("no whole number from 0 to 18446744073709551615");
    return std::nullopt;
}

std::optional<Data> JsonPlace::bytes() const
{
    return value_ ? value_->get<Data>() : std::nullopt;
}

} // namespace vantorel::recorded
