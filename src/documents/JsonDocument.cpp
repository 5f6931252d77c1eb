// SPDX-License-Identifier: GPL-2.0-or-later
#include "JsonDocument.h"

namespace vantorel {

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
    text_.append(text_.size() > 1 ? "," : "").append(jsonText(Json(key))).append(":").append(json);
}

std::string jsonArray(const std::vector<std::string>& elements)
{
    std::string text = "[";
    for (const std::string& element : elements)
        text.append(text.size() > 1 ? "," : "").append(element);
    return text + ']';
}

} // namespace vantorel
