// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/base/Base64.h"
#include "vantorel/base/Text.h"
#include "vantorel/system/PropertyList.h"

#include <cmath>

namespace vantorel::system {

namespace {

class XmlWriter {
public:
    void write(const PropertyValue& value, std::size_t level)
    {
        switch (value.type()) {
        case PropertyValue::Type::boolean:
            line(level, *value.get<bool>() ? "<true/>" : "<false/>");
            break;
        case PropertyValue::Type::integer:
            element(level, "integer", integerText(value));
            break;
        case PropertyValue::Type::real:
            element(level, "real", realText(*value.get<double>()));
            break;
        case PropertyValue::Type::data:
            element(level, "data", base::base64(*value.data()));
            break;
        case PropertyValue::Type::array:
            writeArray(*value.array(), level);
            break;
        case PropertyValue::Type::table:
            writeTable(*value.table(), level);
            break;
        case PropertyValue::Type::uuid:
            element(level, "string", value.get<base::Uuid>()->text());
            break;
        case PropertyValue::Type::text:
        case PropertyValue::Type::null:
            element(level, "string", value.text() ? *value.text() : std::string());
            break;
        }
    }

    std::string output;

private:
    void line(std::size_t level, std::string_view text) { output.append(level, '\t').append(text).append("\n"); }

    void element(std::size_t level, std::string_view name, const std::string& text)
    {
        output.append(level, '\t').append("<").append(name).append(">");
        escape(base::isUtf8(text) ? text : base::toUtf8(text));
        output.append("</").append(name).append(">\n");
    }

    void escape(const std::string& text)
    {
        for (const char character : text) {
            const auto byte = static_cast<unsigned char>(character);
            if (character == '&')
                output += "&amp;";
            else if (character == '<')
                output += "&lt;";
            else if (character == '>')
                output += "&gt;";
            else if (byte < 0x20 && character != '\t' && character != '\n')
                output += character == '\r' ? "&#13;" : "\uFFFD";
            else
                output += character;
        }
    }

    static std::string integerText(const PropertyValue& value)
    {
        const auto number = value.get<std::int64_t>();
        return number ? std::to_string(*number) : std::to_string(*value.get<std::uint64_t>());
    }

    static std::string realText(double value)
    {
        if (std::isnan(value))
            return "nan";
        if (std::isinf(value))
            return value < 0 ? "-infinity" : "infinity";
        return base::shortestDecimal(value);
    }

    void writeArray(const PropertyArray& array, std::size_t level)
    {
        if (array.empty())
            return line(level, "<array/>");
        line(level, "<array>");
        for (const PropertyValue& value : array)
            write(value, level + 1);
        line(level, "</array>");
    }

    void writeTable(const PropertyTable& table, std::size_t level)
    {
        if (table.empty())
            return line(level, "<dict/>");
        line(level, "<dict>");
        for (const auto& [key, value] : table) {
            element(level + 1, "key", key);
            write(value, level + 1);
        }
        line(level, "</dict>");
    }
};

} // namespace

std::string writeXmlPropertyList(const PropertyValue& value)
{
    XmlWriter writer;
    writer.output = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
)";
    writer.write(value, 0);
    writer.output += "</plist>\n";
    return std::move(writer.output);
}

} // namespace vantorel::system
