// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/smart/records/RecordJson.h"

#include "Fields.h"
#include "vantorel/base/Base64.h"
#include "vantorel/base/Text.h"

#include <nlohmann/json.hpp>

#include <concepts>
#include <limits>

namespace vantorel {

namespace {

using Json = nlohmann::ordered_json; // for writing: keys stay in the order of the fields
using ReadJson = nlohmann::json;     // for reading: its look-ups stay fast however many keys a document has
using records::Described;
using records::Description;

template <typename T>
concept Enumeration = std::is_enum_v<T>;

// Encoding. Every kind of field has one overload.

Json encode(const std::string& text)
{
    return base::toUtf8(text);
}

Json encode(const Data& bytes)
{
    return base::base64(bytes);
}

Json encode(std::unsigned_integral auto number)
{
    return number;
}

template <Enumeration E>
Json encode(E value)
{
    return rawValue(value);
}

template <Described Record>
Json encode(const Record& record);

template <Described Element>
Json encode(const std::vector<Element>& elements)
{
    Json array = Json::array();
    for (const Element& element : elements)
        array.push_back(encode(element));
    return array;
}

template <typename Value>
void encodeField(Json& object, std::string_view key, const Value& value)
{
    object[std::string(key)] = encode(value);
}

template <typename Value>
void encodeField(Json& object, std::string_view key, const std::optional<Value>& value)
{
    if (value)
        encodeField(object, key, *value);
}

template <Described Record>
Json encode(const Record& record)
{
    Json object = Json::object();
    std::apply([&](const auto&... field) { (encodeField(object, field.key, record.*field.member), ...); },
               Description<Record>::fields);
    return object;
}

Json encode(const SmartObject& object)
{
    if (const auto* ata = object.as<ATASmartObject>())
        return encode(*ata);
    return encode(*object.as<NVMeSmartObject>());
}

// Decoding. A place is what the reader of a message needs: the way to the value and the record that it belongs to.

struct Place {
    std::string path;
    std::string_view record;

    [[noreturn]] void fail(const std::string& fault) const
    {
        throw JsonError((path.empty() ? std::string("the document") : path) + " (" + std::string(record) +
                        "): " + fault);
    }

    [[noreturn]] void failType(std::string_view wanted, const ReadJson& json) const
    {
        fail("is " + std::string(json.type_name()) + " where " + std::string(wanted) + " is wanted");
    }
};

void decode(const ReadJson& json, const Place& place, std::string& text)
{
    if (!json.is_string())
        place.failType("a text", json);
    text = json.get_ref<const std::string&>();
}

void decode(const ReadJson& json, const Place& place, Data& bytes)
{
    if (!json.is_string())
        place.failType("a Base64 text", json);
    auto decoded = base::fromBase64(json.get_ref<const std::string&>());
    if (!decoded)
        place.fail("is no Base64 text");
    bytes = std::move(*decoded);
}

template <std::unsigned_integral Number>
void decode(const ReadJson& json, const Place& place, Number& number)
{
    constexpr std::uint64_t limit = std::numeric_limits<Number>::max();
    if (!json.is_number())
        place.failType("a number", json);
    if (!json.is_number_unsigned() || json.get<std::uint64_t>() > limit)
        place.fail(json.dump() + " does not fit 0 to " + std::to_string(limit));
    number = static_cast<Number>(json.get<std::uint64_t>());
}

template <Enumeration E>
void decode(const ReadJson& json, const Place& place, E& value)
{
    std::string text;
    decode(json, place, text);
    const auto known = fromRawValue<E>(text);
    if (!known)
        place.fail("no case has the text \"" + text + '"');
    value = *known;
}

template <Described Record>
void decode(const ReadJson& json, const Place& place, Record& record);

template <Described Element>
void decode(const ReadJson& json, const Place& place, std::vector<Element>& elements)
{
    if (!json.is_array())
        place.failType("an array", json);
    elements.resize(json.size());
    for (std::size_t i = 0; i < elements.size(); ++i)
        decode(json[i], {place.path + '[' + std::to_string(i) + ']', Description<Element>::name}, elements[i]);
}

template <typename Value>
void decodeField(const ReadJson* json, const Place& place, Value& value)
{
    if (!json)
        place.fail("is missing");
    if (json->is_null())
        place.fail("is null");
    decode(*json, place, value);
}

template <typename Value>
void decodeField(const ReadJson* json, const Place& place, std::optional<Value>& value)
{
    if (json && !json->is_null())
        decode(*json, place, value.emplace());
}

template <Described Record>
void decode(const ReadJson& json, const Place& place, Record& record)
{
    if (!json.is_object())
        place.failType("an object", json);
    const auto decodeOne = [&](const auto& field) {
        const auto found = json.find(field.key);
        const std::string path = (place.path.empty() ? "" : place.path + '.') + std::string(field.key);
        decodeField(found == json.end() ? nullptr : &*found, {path, Description<Record>::name}, record.*field.member);
    };
    std::apply([&](const auto&... field) { (decodeOne(field), ...); }, Description<Record>::fields);
}

PropertyValue propertyValue(const Json& json)
{
    switch (json.type()) {
    case Json::value_t::object: {
        PropertyTable table;
        for (const auto& [key, value] : json.items())
            table.emplace(key, propertyValue(value));
        return table;
    }
    case Json::value_t::array: {
        PropertyArray array;
        for (const Json& element : json)
            array.push_back(propertyValue(element));
        return array;
    }
    case Json::value_t::string:
        return json.get_ref<const std::string&>();
    case Json::value_t::number_unsigned:
        return json.get<std::uint64_t>();
    default: // no record encodes to anything else
        return nullptr;
    }
}

/// What the JSON library has to say, without its name and number for the fault in front.
std::string faultOf(const ReadJson::exception& error)
{
    const std::string_view text = error.what();
    const auto end = text.find("] ");
    return base::toUtf8(end == std::string_view::npos ? text : text.substr(end + 2));
}

} // namespace

template <typename Record>
std::string toJson(const Record& record)
{
    return encode(record).dump();
}

template <typename Record>
Record fromJson(std::string_view json)
{
    Record record;
    try {
        decode(ReadJson::parse(json), {"", Description<Record>::name}, record);
    } catch (const ReadJson::exception& error) {
        throw JsonError(faultOf(error));
    }
    return record;
}

template <typename Record>
std::optional<PropertyTable> dictionary(const Record& record)
{
    PropertyValue value = propertyValue(encode(record));
    if (PropertyTable* const table = value.table())
        return std::move(*table);
    return std::nullopt;
}

#define VANTOREL_RECORD_JSON(Record)                                                                                   \
    template std::string toJson(const Record&);                                                                        \
    template std::optional<PropertyTable> dictionary(const Record&);
#define VANTOREL_DECODABLE_RECORD_JSON(Record)                                                                         \
    VANTOREL_RECORD_JSON(Record)                                                                                       \
    template Record fromJson(std::string_view);

VANTOREL_DECODABLE_RECORD_JSON(ATADeviceInfo)
VANTOREL_DECODABLE_RECORD_JSON(ATASmartValue)
VANTOREL_DECODABLE_RECORD_JSON(ATASmartObject)
VANTOREL_DECODABLE_RECORD_JSON(NVMePowerState)
VANTOREL_DECODABLE_RECORD_JSON(NVMeDeviceInfo)
VANTOREL_DECODABLE_RECORD_JSON(NVMeSmartValue)
VANTOREL_DECODABLE_RECORD_JSON(NVMeSmartError)
VANTOREL_DECODABLE_RECORD_JSON(NVMeSmartObject)
VANTOREL_RECORD_JSON(SmartObject)

} // namespace vantorel
