// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/AttributeFormat.h"

#include "vantorel/base/Text.h"
#include "vantorel/system/Localization.h"

#include <array>
#include <charconv>
#include <string>

namespace vantorel {

using enum ata_attr_raw_format;

namespace {

constexpr std::string_view Unknown_SSD_Attribute = "Unknown_Attribute";
constexpr std::string_view Unknown_HDD_Attribute = "Unknown_Attribute";
constexpr std::string_view unknownAttribute = "Unknown_Attribute";

std::string_view defaultByteOrder(ata_attr_raw_format format)
{
    switch (format) {
    case raw64:
    case hex64:
        return "543210wv";
    case raw56:
    case hex56:
    case raw24_div_raw32:
    case msec24hour32:
        return "r543210";
    default:
        return "543210";
    }
}

std::uint8_t byteNamed(char name, const IOATASmartAttribute& attribute)
{
    switch (name) {
    case '0':
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
        return attribute.rawvalue[static_cast<std::size_t>(name - '0')];
    case 'r':
        return attribute.reserv;
    case 'v':
        return attribute.current;
    case 'w':
        return attribute.worst;
    default:
        return 0;
    }
}

std::uint64_t numberInOrder(std::string_view byteOrder, const IOATASmartAttribute& attribute)
{
    std::uint64_t number = 0;
    for (const char name : byteOrder)
        number = number << 8 | byteNamed(name, attribute);
    return number;
}

std::string decimal(std::uint64_t number)
{
    return std::to_string(number);
}

std::string hexadecimal(std::uint64_t number, std::size_t leastDigits)
{
    std::array<char, 16> buffer;
    const auto result = std::to_chars(buffer.begin(), buffer.end(), number, 16);
    const auto digits = static_cast<std::size_t>(result.ptr - buffer.begin());
    return "0x" + std::string(leastDigits - std::min(digits, leastDigits), '0').append(buffer.begin(), result.ptr);
}

/// The number in its format, before any unit.
std::string plainText(ata_attr_raw_format format, std::uint64_t number, const std::array<std::uint8_t, 6>& raw)
{
    const auto word = [&](std::size_t i) { return std::uint64_t{raw[2 * i]} + 256 * std::uint64_t{raw[2 * i + 1]}; };
    const auto byte = [&](std::size_t i) { return decimal(raw[i]); };
    constexpr std::uint64_t low24 = 0xFF'FFFF;
    constexpr std::uint64_t low32 = 0xFFFF'FFFF;
    switch (format) {
    case raw8:
        return byte(5) + ' ' + byte(4) + ' ' + byte(3) + ' ' + byte(2) + ' ' + byte(1) + ' ' + byte(0);
    case raw16:
        return decimal(word(2)) + ' ' + decimal(word(1)) + ' ' + decimal(word(0));
    case raw48:
    case raw56:
    case raw64:
        return decimal(number);
    case hex48:
        return hexadecimal(number, 12);
    case hex56:
        return hexadecimal(number, 14);
    case hex64:
        return hexadecimal(number, 16);
    case raw16_raw16:
        if (word(1) == 0 && word(2) == 0)
            return decimal(word(0));
        return decimal(word(0)) + '(' + decimal(word(2)) + ' ' + decimal(word(1)) + ')';
    case raw16_avg16:
        return word(1) == 0 ? decimal(word(0)) : decimal(word(0)) + " (Average " + decimal(word(1)) + ')';
    case raw24_raw8:
        if (raw[3] == 0 && raw[4] == 0 && raw[5] == 0)
            return decimal(number & low24);
        return decimal(number & low24) + " (" + byte(5) + ' ' + byte(4) + ' ' + byte(3) + ')';
    case raw24_div_raw24:
        return decimal(number >> 24) + '/' + decimal(number & low24);
    case raw24_div_raw32:
        return decimal(number >> 32) + '/' + decimal(number & low32);
    case sec2hour:
        return formatTime(number);
    case min2hour:
        return formatTime(60 * (word(0) + 65536 * word(1)));
    case halfmin2hour: {
        const std::uint64_t hours = number / 120;
        return formatTime(3600 * hours + 60 * ((number - 120 * hours) / 2));
    }
    case msec24hour32:
        return formatTime(3600 * (number & low32) + (number >> 32) / 1000);
    case tempminmax:
        return byte(0);
    case temp10x:
        return decimal(word(0) / 10) + '.' + decimal(word(0) % 10);
    case none:
        break;
    }
    return "?";
}

std::string withUnit(std::string text, std::string_view rawName)
{
    constexpr std::pair<std::string_view, double> byteUnits[] = {
        {"gib", 1073741824}, {"mib", 1048576}, {"gigabyte", 1000000000}};
    for (const auto& [unit, bytes] : byteUnits) {
        if (base::containsIgnoringCase(rawName, unit))
            return base::shortestDecimal(base::realFrom(text).value_or(0) * bytes);
    }
    if (base::containsIgnoringCase(rawName, "perc"))
        return text + '%';
    if (base::containsIgnoringCase(rawName, "temperature"))
        return text + "\u00B0C";
    return text;
}

} // namespace

std::uint64_t rawNumber(const IOATASmartAttribute& attribute, const ATASmartAttributeDefinition& definition)
{
    return numberInOrder(definition.byteorder.empty() ? defaultByteOrder(definition.format)
                                                      : std::string_view(definition.byteorder),
                         attribute);
}

ata_attr_raw_format rawFormat(const ATASmartAttributeDefinition& definition, std::uint8_t attributeId)
{
    if (definition.format != none)
        return definition.format;
    const auto& byDefault = getDefaultDefinitions()[attributeId];
    return byDefault && byDefault->format != none ? byDefault->format : raw48;
}

std::string formatSmartValue(const IOATASmartAttribute& attribute, const ATASmartAttributeDefinition& definition,
                             std::string_view rawName)
{
    return withUnit(
        plainText(rawFormat(definition, attribute.attributeId), rawNumber(attribute, definition), attribute.rawvalue),
        rawName);
}

std::string_view GetDefaultAttributeName(std::uint8_t id, bool isSSD, const ATASmartAttributeDefinitions& defaults)
{
    const auto& byDefault = defaults[id];
    if (!byDefault || !byDefault->name)
        return unknownAttribute;
    if (isSSD && (byDefault->flags & ATASmartAttributeDefinition::hddOnly) != 0)
        return Unknown_SSD_Attribute;
    if (!isSSD && (byDefault->flags & ATASmartAttributeDefinition::ssdOnly) != 0)
        return Unknown_HDD_Attribute;
    return *byDefault->name;
}

std::string formatTime(std::uint64_t seconds)
{
    std::string text;
    for (const std::string& part :
         {formatComponent("hour", seconds / 3600), formatComponent("minute", seconds % 3600 / 60),
          formatComponent("second", seconds % 60)}) {
        if (!part.empty())
            text += part + ' ';
    }
    return std::string(base::trimmed(text));
}

std::string formatComponent(std::string_view name, std::uint64_t value)
{
    if (value == 0)
        return {};
    return decimal(value) + ' ' + system::localized(value == 1 ? std::string(name) : std::string(name) + 's');
}

} // namespace vantorel
