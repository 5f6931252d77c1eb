// SPDX-License-Identifier: GPL-2.0-or-later
#include "JsonDocument.h"

#include <fmt/format.h>

namespace vantorel::host {

std::string jsonText(const Json& value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string jsonLine(const Json& document)
{
    return jsonText(document) + '\n';
}

JsonObject::JsonObject(const Json& object)
{
    for (const auto& [key, value] : object.items())
        put(key, value);
}

void JsonObject::splice(std::string_view key, std::string_view json)
{
    fmt::format_to(std::back_inserter(text_), "{}{}:{}", text_.size() > 1 ? "," : "", jsonText(Json(key)), json);
}

std::string jsonArray(const std::vector<std::string>& elements)
{
    return fmt::format("[{}]", fmt::join(elements, ","));
}

} // namespace vantorel::host
