// SPDX-License-Identifier: GPL-2.0-or-later
#include "PropertyReading.h"

namespace vantorel {

std::optional<std::vector<std::string>> textsOf(const PropertyTable& info, std::string_view key)
{
    const PropertyValue* const value = info.lookUp(key);
    const PropertyArray* const array = value ? value->array() : nullptr;
    if (!array)
        return std::nullopt;
    std::vector<std::string> texts;
    for (const PropertyValue& entry : *array) {
        if (!entry.text())
            return std::nullopt;
        texts.push_back(*entry.text());
    }
    return texts;
}

std::optional<base::Uuid> uuidFromText(const PropertyTable& info, std::string_view key)
{
    const PropertyValue* const value = info.lookUp(key);
    return value && value->text() ? base::Uuid::parse(*value->text()) : std::nullopt;
}

void loadUuid(const PropertyTable& info, std::string_view key, std::optional<base::Uuid>& field)
{
    if (const auto uuid = info.get<base::Uuid>(key))
        field = uuid;
    else if (const auto fromText = uuidFromText(info, key))
        field = fromText;
}

} // namespace vantorel
