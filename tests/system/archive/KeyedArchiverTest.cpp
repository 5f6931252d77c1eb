// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/KeyedArchiver.h"

#include "system/propertylist/BinaryPropertyList.h"
#include "system/propertylist/PropertyList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>

namespace vantorel::system {
namespace {

using Dictionary = ObjectTable::Dictionary;
using Uid = ObjectTable::Uid;

Data fixture(const std::string& name)
{
    std::ifstream file(VANTOREL_TEST_DATA "/keyedarchive/" + name, std::ios::binary);
    return Data(std::istreambuf_iterator<char>(file), {});
}

Data bytes(std::string_view text)
{
    return Data(text.begin(), text.end());
}

/// The message that reading ends with; empty when it succeeds.
std::string failure(DataView archive)
{
    try {
        (void)unarchiveObjectWithData(archive);
        return "";
    } catch (const KeyedArchiveError& error) {
        return error.what();
    }
}

/// Builds archives that no archiver would write: objects in slots, the root in slot 1.
class ArchiveBuilder {
public:
    ArchiveBuilder()
    {
        table_.add(Dictionary{});
        slots_.push_back(text("$null"));
    }

    ObjectTable::Index text(std::string_view text) { return table_.add(PropertyValue(text)); }
    ObjectTable::Index value(PropertyValue value) { return table_.add(std::move(value)); }

    ObjectTable::Index list(ObjectTable::Array entries) { return table_.add(std::move(entries)); }

    ObjectTable::Index references(const std::vector<std::uint64_t>& slots)
    {
        ObjectTable::Array array;
        for (const std::uint64_t slot : slots)
            array.push_back(table_.add(Uid{slot}));
        return list(array);
    }

    /// Adds a slot with an object of these members; class 0 leaves "$class" out.
    std::size_t object(std::uint64_t classSlot, std::vector<std::pair<std::string, ObjectTable::Index>> members)
    {
        Dictionary dictionary;
        for (const auto& [key, index] : members) {
            dictionary.keys.push_back(text(key));
            dictionary.values.push_back(index);
        }
        if (classSlot != 0) {
            dictionary.keys.push_back(text("$class"));
            dictionary.values.push_back(table_.add(Uid{classSlot}));
        }
        return slot(table_.add(dictionary));
    }

    std::size_t classNamed(const std::string& name, const std::vector<std::string>& chain = {})
    {
        ObjectTable::Array ancestors;
        for (const std::string& ancestor : chain)
            ancestors.push_back(text(ancestor));
        const auto list = table_.add(ancestors);
        return slot(table_.add(Dictionary{{text("$classname"), text("$classes")}, {text(name), list}}));
    }

    std::size_t slot(ObjectTable::Index index)
    {
        slots_.push_back(index);
        return slots_.size() - 1;
    }

    Data archive(std::uint64_t rootSlot, PropertyValue version = 100000)
    {
        const auto root = table_.add(Uid{rootSlot});
        const auto top = table_.add(Dictionary{{text("root")}, {root}});
        table_.objects[0] = Dictionary{{text("$version"), text("$objects"), text("$archiver"), text("$top")},
                                       {value(version), table_.add(slots_), text("NSKeyedArchiver"), top}};
        return writeBinaryPropertyList(table_);
    }

private:
    ObjectTable table_;
    ObjectTable::Array slots_;
};

PropertyValue sample()
{
    return PropertyTable{
        {"null", nullptr},
        {"yes", true},
        {"one", 1},
        {"unit", 1.0},
        {"least", std::numeric_limits<std::int64_t>::min()},
        {"minus", -1},
        {"most", std::numeric_limits<std::uint64_t>::max()},
        {"real", 36.6},
        {"text", "37\xC2\xB0"
                 "C \xF0\x9F\x92\xBE"},
        {"nul", std::string("a\0b", 3)},
        {"$null", "$null"},
        {"same", PropertyArray{"hello", "hello", nullptr, 1, 36.6}},
        {"data", Data(512, 0xA5)},
        {"uuid", *base::Uuid::parse("08ABE21C-20D4-11D6-8DF6-0003935A76B2")},
        {"empty", PropertyArray{PropertyTable{}, PropertyArray{}, "", Data{}}},
    };
}

TEST(KeyedArchiver, GivesBackEveryKindOfValueExact)
{
    const PropertyValue value = sample();
    EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(value)), value);
    for (const PropertyValue& root : {PropertyValue(nullptr), PropertyValue("a"), PropertyValue(false)})
        EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(root)), root);
    const PropertyValue zero = unarchiveObjectWithData(archivedDataWithRootObject(PropertyArray{0.0, -0.0}));
    EXPECT_FALSE(std::signbit(*zero.array()->at(0).get<double>()));
    EXPECT_TRUE(std::signbit(*zero.array()->at(1).get<double>()));
    EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject("bad \xFF")), PropertyValue("bad \xEF\xBF\xBD"));
}

TEST(KeyedArchiver, LaysObjectsOutInTheOrderOfThePlatform)
{
    // The structure of the macOS fixture: contents before the class, keys before values, the null an object.
    const PropertyValue value = PropertyTable{
        {"array", PropertyArray{nullptr, "hello", 34545, PropertyTable{{"key", "val"}}}}, {"string", "hello"}};
    const ObjectTable list = readBinaryPropertyList(archivedDataWithRootObject(value));
    ASSERT_EQ(list.top, 0U);
    const auto& root = std::get<Dictionary>(list.objects[0]);
    const auto textOf = [&](ObjectTable::Index index) { return *std::get<PropertyValue>(list.objects[index]).text(); };
    EXPECT_EQ(textOf(root.keys[0]), "$version");
    EXPECT_EQ(std::get<PropertyValue>(list.objects[root.values[0]]), PropertyValue(100000));

    std::vector<std::string> slots;
    for (const ObjectTable::Index index : std::get<ObjectTable::Array>(list.objects[root.values[1]])) {
        if (const auto* const dictionary = std::get_if<Dictionary>(&list.objects[index])) {
            std::string members;
            for (const ObjectTable::Index key : dictionary->keys)
                members += textOf(key) + " ";
            slots.push_back(members);
        } else {
            const auto& leaf = std::get<PropertyValue>(list.objects[index]);
            slots.push_back(leaf.text() ? *leaf.text() : std::to_string(*leaf.get<int>()));
        }
    }
    EXPECT_THAT(slots,
                testing::ElementsAre("$null", "NS.keys NS.objects $class ", "array", "string", "NS.objects $class ",
                                     "$class ", "$classname $classes ", "hello", "34545", "NS.keys NS.objects $class ",
                                     "key", "val", "$classname $classes ", "$classname $classes "));
}

TEST(KeyedArchiver, RefusesAValueThatNestsWithoutEnd)
{
    PropertyValue value;
    for (int i = 0; i < deepestArchivedValue; ++i)
        value = PropertyArray{value};
    EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(value)), value);
    value = PropertyArray{value};
    EXPECT_THROW((void)archivedDataWithRootObject(value), KeyedArchiveError);
}

TEST(KeyedUnarchiver, ReadsArchivesThatMacOsWrote)
{
    const PropertyValue url = PropertyTable{
        {"NS.base", "https://www.swift.org"},
        {"NS.relative", "index.xml"},
    };
    EXPECT_EQ(unarchiveObjectWithData(fixture("NSKeyedUnarchiver-ComplexTest.plist")),
              PropertyValue(PropertyTable{
                  {"array", PropertyArray{nullptr, "hello", 34545, PropertyTable{{"key", "val"}}}},
                  {"string", "hello"},
                  {"url", url},
                  {"uuid", *base::Uuid::parse("71DC068E-3420-45FF-919E-3A267D55EC22")},
              }));
    EXPECT_EQ(unarchiveObjectWithData(fixture("NSKeyedUnarchiver-ArrayTest.plist")),
              PropertyValue(PropertyArray{"baa", "baa", "black", "sheep"}));
}

TEST(KeyedUnarchiver, ReadsMutableVariantsSubclassesSetsAndDates)
{
    ArchiveBuilder builder;
    const auto mutableText = builder.classNamed("NSMutableString", {"NSMutableString", "NSString", "NSObject"});
    const auto mutableData = builder.classNamed("NSMutableData", {"NSMutableData", "NSData", "NSObject"});
    const auto date = builder.classNamed("NSDate", {"NSDate", "NSObject"});
    const auto ownArray = builder.classNamed("HostArray", {"HostArray", "NSMutableArray", "NSArray", "NSObject"});
    const auto set = builder.classNamed("NSSet", {"NSSet", "NSObject"});
    const auto behindReference = builder.slot(builder.value(Data{7, 8}));
    const std::vector<std::uint64_t> elements = {
        builder.object(mutableText, {{"NS.string", builder.text("disk0")}}),
        builder.object(mutableData, {{"NS.data", builder.value(Data{1, 2})}}),
        builder.object(date, {{"NS.time", builder.value(5.5)}}),
        builder.object(set, {{"NS.objects", builder.references({behindReference})}}),
        0,
    };
    const auto root = builder.object(ownArray, {{"NS.objects", builder.references(elements)}});
    EXPECT_EQ(unarchiveObjectWithData(builder.archive(root)),
              PropertyValue(PropertyArray{"disk0", Data{1, 2}, 5.5, PropertyArray{Data{7, 8}}, nullptr}));
}

TEST(KeyedUnarchiver, SaysWhatIsWrongWithAHostileArchiveAndWhere)
{
    struct Case {
        std::string fault;
        std::function<std::uint64_t(ArchiveBuilder&, std::uint64_t array, std::uint64_t table)> build;
    };
    const Case cases[] = {
        {"object 3 of the archive: contains itself",
         [](ArchiveBuilder& b, auto array, auto) {
             return b.object(array, {{"NS.objects", b.references({3})}});
         }},
        {"refers to object 99 of 4",
         [](ArchiveBuilder& b, auto array, auto) {
             return b.object(array, {{"NS.objects", b.references({99})}});
         }},
        {"refers to object 18446744073709551615 of", [](ArchiveBuilder&, auto, auto) { return ~std::uint64_t{0}; }},
        {"has no class", [](ArchiveBuilder& b, auto, auto) { return b.object(0, {}); }},
        {"has a class without a name", [](ArchiveBuilder& b, auto, auto) { return b.object(3, {}); }},
        {"is of the class \"NS?Host\", which cannot be read",
         [](ArchiveBuilder& b, auto, auto) { return b.object(b.classNamed("NS\x1BHost", {"NSObject"}), {}); }},
        {"has no array NS.objects", [](ArchiveBuilder& b, auto array, auto) { return b.object(array, {}); }},
        {"lists something that is no reference",
         [](ArchiveBuilder& b, auto array, auto) {
             return b.object(array, {{"NS.objects", b.list({b.value(1)})}});
         }},
        {"has 2 keys for 1 values",
         [](ArchiveBuilder& b, auto, auto table) {
             return b.object(table, {{"NS.keys", b.references({0, 0})}, {"NS.objects", b.references({0})}});
         }},
        {"has a key that is no text",
         [](ArchiveBuilder& b, auto, auto table) {
             return b.object(table, {{"NS.keys", b.references({0})}, {"NS.objects", b.references({0})}});
         }},
        {"has the key \"a\" twice",
         [](ArchiveBuilder& b, auto, auto table) {
             const auto a = b.slot(b.text("a"));
             return b.object(table, {{"NS.keys", b.references({a, a})}, {"NS.objects", b.references({0, 0})}});
         }},
        {"has no sixteen NS.uuidbytes",
         [](ArchiveBuilder& b, auto, auto) {
             return b.object(b.classNamed("NSUUID"), {{"NS.uuidbytes", b.value(Data(17))}});
         }},
        {"has no NS.string",
         [](ArchiveBuilder& b, auto, auto) {
             return b.object(b.classNamed("NSString"), {{"NS.string", b.value(Data(17))}});
         }},
        {"is a bare array or reference", [](ArchiveBuilder& b, auto, auto) { return b.slot(b.references({0})); }},
    };
    for (const Case& testCase : cases) {
        ArchiveBuilder builder;
        const auto array = builder.classNamed("NSArray");
        const auto table = builder.classNamed("NSDictionary");
        EXPECT_THAT(failure(builder.archive(testCase.build(builder, array, table))),
                    testing::HasSubstr(testCase.fault));
    }
}

TEST(KeyedUnarchiver, RefusesPropertyListsThatAreNoArchive)
{
    EXPECT_THAT(failure(ArchiveBuilder().archive(0, 200000)), testing::HasSubstr("version 100000"));
    EXPECT_THAT(failure(ArchiveBuilder().archive(0, "100000")), testing::HasSubstr("version 100000"));
    ObjectTable table;
    table.add(Dictionary{});
    EXPECT_THAT(failure(writeBinaryPropertyList(table)), testing::HasSubstr("no keyed archive"));
    EXPECT_NE(failure(bytes("")), "");
    EXPECT_NE(failure(bytes("<plist version=\"1.0\"><dict/></plist>")), "");
    EXPECT_NE(failure(bytes("{\"version\": 1}")), "");
}

TEST(KeyedUnarchiver, BoundsWhatSharedObjectsExpandTo)
{
    // Each array holds the next one twice: forty of them would be 2^40 values.
    ArchiveBuilder builder;
    const auto array = builder.classNamed("NSArray");
    std::uint64_t inner = 0;
    for (int i = 0; i < 40; ++i)
        inner = builder.object(array, {{"NS.objects", builder.references({inner, inner})}});
    EXPECT_THAT(failure(builder.archive(inner)), testing::HasSubstr("expands to more than it may"));

    ArchiveBuilder large;
    const auto largeArray = large.classNamed("NSArray");
    const auto text = large.slot(large.value(Data(1 << 20)));
    const auto root = large.object(largeArray, {{"NS.objects", large.references(std::vector(100, text))}});
    EXPECT_THAT(failure(large.archive(root)), testing::HasSubstr("expands to more than it may"));

    ArchiveBuilder deep;
    const auto deepArray = deep.classNamed("NSArray");
    inner = 0;
    for (int i = 0; i < 100'000; ++i)
        inner = deep.object(deepArray, {{"NS.objects", deep.references({inner})}});
    EXPECT_THAT(failure(deep.archive(inner)), testing::HasSubstr("is nested deeper than 256"));
}

TEST(KeyedUnarchiver, EndsOrderlyForAnArchiveCutOrChangedAnywhere)
{
    const PropertyValue value = sample();
    const Data whole = archivedDataWithRootObject(value);
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_NE(failure(DataView(whole).first(size)), "") << "cut to " << size;
    std::size_t refused = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        Data changed = whole;
        changed[i] ^= 0xFF;
        refused += failure(changed).empty() ? 0 : 1;
    }
    EXPECT_GT(refused, 0U);
}

TEST(KeyedUnarchiver, KnowsAnArchiveByItsMarksWhereverTheyStand)
{
    const Data binary = archivedDataWithRootObject(PropertyTable{{"a", 1}});
    const std::string xml = writeXmlPropertyList(readPropertyList(binary));
    const auto isArchive = [](const std::string& text) { return isKeyedArchive(Data(text.begin(), text.end())); };
    EXPECT_TRUE(isKeyedArchive(binary));
    EXPECT_TRUE(isArchive(xml));
    EXPECT_TRUE(isArchive("\xEF\xBB\xBF" + xml));
    EXPECT_TRUE(isArchive("\r\n\t " + xml));
    EXPECT_FALSE(isArchive("text " + xml));
    EXPECT_FALSE(isArchive(""));
    for (const char* const mark : {"$archiver", "$objects", "$top"}) {
        std::string without = xml;
        without[without.find(mark)] = '%';
        EXPECT_FALSE(isArchive(without)) << mark;
    }
}

} // namespace
} // namespace vantorel::system
