// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/propertylist/BinaryPropertyList.h"

#include "system/propertylist/PropertyList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace vantorel::system {
namespace {

/// A list of one-byte offsets and references around these objects; the trailer tells `count` objects.
Data list(const std::vector<Data>& objects, std::uint8_t count, std::uint8_t top = 0)
{
    const std::string_view magic = "bplist00";
    Data bytes(magic.begin(), magic.end());
    Data offsets;
    for (const Data& object : objects) {
        offsets.push_back(static_cast<std::uint8_t>(bytes.size()));
        bytes.insert(bytes.end(), object.begin(), object.end());
    }
    const auto tableOffset = static_cast<std::uint8_t>(bytes.size());
    bytes.insert(bytes.end(), offsets.begin(), offsets.end());
    bytes.insert(bytes.end(), {0, 0, 0, 0, 0, 0, 1, 1});
    for (const std::uint8_t number : {count, top, tableOffset}) {
        bytes.insert(bytes.end(), 7, 0);
        bytes.push_back(number);
    }
    return bytes;
}

TEST(BinaryPropertyList, ReadsEachKindOfEntry)
{
    const std::pair<Data, PropertyValue> cases[] = {
        {{0x08}, false},
        {{0x10, 0xC8}, 200},
        {{0x11, 0xFF, 0xFE}, 0xFFFE},
        {{0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFB}, -5},
        {{0x14, 0, 0, 0, 0, 0, 0, 0, 0, 0x80, 0, 0, 0, 0, 0, 0, 1}, std::uint64_t{0x8000000000000001}},
        {{0x14, 255, 255, 255, 255, 255, 255, 255, 255, 0x80, 0, 0, 0, 0, 0, 0, 0},
         std::numeric_limits<std::int64_t>::min()},
        {{0x22, 0x3F, 0xC0, 0, 0}, 1.5},
        {{0x23, 0xC0, 0x04, 0, 0, 0, 0, 0, 0}, -2.5},
        {{0x43, 1, 2, 3}, Data{1, 2, 3}},
        {{0x52, 'h', 'i'}, "hi"},
        {{0x52, 'h', 0xFF}, "h\xEF\xBF\xBD"},
        {{0x62, 0xD8, 0x3D, 0xDC, 0xBE}, "\xF0\x9F\x92\xBE"},
        {{0x62, 0xD8, 0x3D, 0x00, 'a'},
         "\xEF\xBF\xBD"
         "a"},
        {{0x61, 0xDC, 0xBE}, "\xEF\xBF\xBD"},
    };
    for (const auto& [object, value] : cases) {
        const ObjectTable table = readBinaryPropertyList(list({object}, 1));
        EXPECT_EQ(std::get<PropertyValue>(table.objects.at(0)), value);
    }
    const ObjectTable other = readBinaryPropertyList(list({{0x81, 1, 2}, {0x33, 0x40, 0x14, 0, 0, 0, 0, 0, 0}}, 2));
    EXPECT_EQ(std::get<ObjectTable::Uid>(other.objects.at(0)).value, 0x0102U);
    EXPECT_EQ(std::get<ObjectTable::Date>(other.objects.at(1)).seconds, 5.0);
}

TEST(BinaryPropertyList, ExpandsIntoOneValueWithinItsLimits)
{
    const Data whole = list({{0xD3, 1, 2, 3, 4, 5, 4},
                             {0x51, 'a'},
                             {0x51, 'b'},
                             {0x51, 'c'},
                             {0xA2, 5, 6},
                             {0x33, 0x41, 0x80, 0, 0, 0, 0, 0, 0}, // 2^25 seconds
                             {0x80, 7}},
                            7);
    const PropertyArray shared = {"2002-01-24T08:40:32Z", PropertyTable{{"CF$UID", 7}}};
    EXPECT_EQ(readPropertyList(whole), PropertyValue(PropertyTable{{"a", shared}, {"b", shared[0]}, {"c", shared}}));
    EXPECT_NO_THROW((void)readPropertyList(whole, {.depth = 2, .values = 8}));

    const std::tuple<Data, PropertyListLimits, std::string> cases[] = {
        {whole, {.values = 7}, "more values"},
        {whole, {.depth = 1}, "nested too deeply"},
        {whole, {.bytes = 2}, "more text"},
        {list({{0xA1, 0}}, 1), {}, "nested too deeply"},
        {list({{0xD1, 1, 1}, {0x08}}, 2), {}, "a key that is no text"},
        {list({{0x33, 0x7F, 0xF0, 0, 0, 0, 0, 0, 0}}, 1), {}, "a date beyond the calendar"},
    };
    for (const auto& [bytes, limits, fault] : cases) {
        const auto read = [&input = bytes, &within = limits] { (void)readPropertyList(input, within); };
        EXPECT_THAT(read, testing::ThrowsMessage<PropertyListError>(testing::HasSubstr(fault)));
    }
}

TEST(BinaryPropertyList, RefusesWhatBreaksItsRules)
{
    const Data huge = {0x13, 0x10, 0, 0, 0, 0, 0, 0, 0};
    const auto withHugeLength = [&](std::uint8_t marker) {
        Data object = {marker};
        object.insert(object.end(), huge.begin(), huge.end());
        return list({object}, 1);
    };
    Data farOffset = list({{0x08}}, 1);
    farOffset[9] = 200;
    Data inHeader = list({{0x08}}, 1);
    inHeader[9] = 3;
    Data shared = list({{0x52, 'h', 'i'}, {0x08}}, 2);
    shared[13] = 8; // the second entry lies over the first
    const std::pair<Data, std::string> cases[] = {
        {withHugeLength(0x4F), "object 0 of the property list: runs past the end"},
        {withHugeLength(0x5F), "runs past the end"},
        {withHugeLength(0x6F), "runs past the end"},
        {withHugeLength(0xAF), "runs past the end"},
        {withHugeLength(0xDF), "runs past the end"},
        {list({{0x5F, 0x50}}, 1), "has a length that is no integer"},
        {list({{0x08}, {0xA1, 2}}, 2), "object 1 of the property list: refers to object 2 of 2"},
        {list({{0x14, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}}, 1), "more than 64 bits"},
        {list({{0x14, 255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0}}, 1), "more than 64 bits"},
        {list({{0x00}}, 1), "is of no kind"},
        {list({{0xC1, 0}}, 1), "is of no kind"},
        {farOffset, "lies outside the list"},
        {inHeader, "lies outside the list"},
        {shared, "shares bytes with another"},
        {list({{0x08}}, 9), "the trailer"},
        {list({{0x08}}, 1, 1), "the trailer"},
        {list({}, 0), "the trailer"},
    };
    for (const auto& [bytes, fault] : cases) {
        EXPECT_THAT([&input = bytes] { (void)readBinaryPropertyList(input); },
                    testing::ThrowsMessage<PropertyListError>(testing::HasSubstr(fault)));
    }
}

} // namespace
} // namespace vantorel::system
