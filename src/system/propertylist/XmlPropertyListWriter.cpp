// SPDX-License-Identifier: GPL-2.0-or-later
#include "XmlWriter.h"
#include "system/propertylist/PropertyList.h"
#include "vantorel/base/Base64.h"
#include "vantorel/base/Text.h"

#include <cmath>
#include <utility>

namespace vantorel::system {

namespace {

std::string integerText(const PropertyValue& value)
{
    const auto number = value.get<std::int64_t>();
    return number ? std::to_string(*number) : std::to_string(*value.get<std::uint64_t>());
}

std::string realText(double value)
{
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value < 0 ? "-infinity" : "infinity";
    return base::shortestDecimal(value);
}

} // namespace

void XmlWriter::begin()
{
    output += R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
)";
}

void XmlWriter::end()
{
    output += "</plist>\n";
}

void XmlWriter::write(const PropertyValue& value)
{
    switch (value.type()) {
    case PropertyValue::Type::boolean:
        line(*value.get<bool>() ? "<true/>" : "<false/>");
        break;
    case PropertyValue::Type::integer:
        element("integer", integerText(value));
        break;
    case PropertyValue::Type::real:
        element("real", realText(*value.get<double>()));
        break;
    case PropertyValue::Type::data:
        element("data", base::base64(*value.data()));
        break;
    case PropertyValue::Type::array:
        writeArray(*value.array());
        break;
    case PropertyValue::Type::table:
        writeTable(*value.table());
        break;
    case PropertyValue::Type::uuid:
        element("string", value.get<base::Uuid>()->text());
        break;
    case PropertyValue::Type::text:
    case PropertyValue::Type::null:
        element("string", value.text() ? *value.text() : std::string());
        break;
    }
}

void XmlWriter::open(std::string_view tag)
{
    line(tag);
    ++level_;
}

void XmlWriter::close(std::string_view tag)
{
    --level_;
    line(tag);
}

void XmlWriter::line(std::string_view text)
{
    output.append(level_, '\t').append(text).append("\n");
}

void XmlWriter::element(std::string_view name, std::string_view text)
{
    output.append(level_, '\t').append("<").append(name).append(">");
    if (base::isUtf8(text))
        escape(text);
    else
        escape(base::toUtf8(text));
    output.append("</").append(name).append(">\n");
}

void XmlWriter::escape(std::string_view text)
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

void XmlWriter::writeArray(const PropertyArray& array)
{
    if (array.empty())
        return line("<array/>");
    openArray();
    for (const PropertyValue& value : array)
        write(value);
    closeArray();
}

void XmlWriter::writeTable(const PropertyTable& table)
{
    if (table.empty())
        return line("<dict/>");
    openTable();
    for (const auto& [name, value] : table) {
        key(name);
        write(value);
    }
    closeTable();
}

std::string writeXmlPropertyList(const PropertyValue& value)
{
    XmlWriter writer;
    writer.begin();
    writer.write(value);
    writer.end();
    return std::move(writer.output);
}

} // namespace vantorel::system
