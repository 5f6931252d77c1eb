// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/propertylist/PropertyList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace vantorel;
using namespace vantorel::system;

namespace {

PropertyValue read(std::string_view text, const PropertyListLimits& limits = {})
{
    return readPropertyList(Data(text.begin(), text.end()), limits);
}

std::string faultOf(std::string_view text, const PropertyListLimits& limits = {})
{
    try {
        read(text, limits);
    } catch (const PropertyListError& error) {
        return error.what();
    }
    return "no fault";
}

} // namespace

TEST(XmlPropertyList, ReadsEveryKindOfValue)
{
    const PropertyTable expected{
        {"text", "a < b & \"c\" 'd' é\U0001F4BE"},
        {"empty", ""},
        {"yes", true},
        {"no", false},
        {"most", std::numeric_limits<std::uint64_t>::max()},
        {"least", std::numeric_limits<std::int64_t>::min()},
        {"hexadecimal", 0xF0},
        {"real", -2.5},
        {"data", Data{1, 2, 0xFF}},
        {"date", "2001-01-01T00:00:00Z"},
        {"array", PropertyArray{1, PropertyArray{}, PropertyTable{}}},
        {"twice", 2},
    };
    EXPECT_EQ(read(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<!-- from ioreg -->
<plist version="1.0">
<dict>
  <key>text</key><string>a &lt; b &amp; <![CDATA["c"]]> &apos;d&apos; &#233;&#x1F4BE;</string>
  <key>empty</key><string/>
  <key>yes</key><true/> <key>no</key><false></false>
  <key>most</key><integer size="64">18446744073709551615</integer>
  <key>least</key><integer> -9223372036854775808 </integer>
  <key>hexadecimal</key><integer>0xf0</integer>
  <key>real</key><real>-2.5</real>
  <key>data</key><data>
    AQ
    L/
  </data>
  <key>date</key><date>2001-01-01T00:00:00Z</date>
  <key>array</key><array><integer>1</integer><array/><!-- none --><dict></dict></array>
  <key>twice</key><integer>1</integer><key>twice</key><integer>2</integer>
</dict>
</plist>
)"),
              PropertyValue(expected));
    EXPECT_EQ(read("\xEF\xBB\xBF <string>bare\xFFtext</string>"), PropertyValue("bare\uFFFDtext"));
}

TEST(XmlPropertyList, WritesWhatItReads)
{
    const PropertyValue value = PropertyTable{
        {"<key> & more",
         PropertyArray{"two\nlines\r", true, false, -1, std::uint64_t{1} << 63U, 0.1, 1e300, Data{0, 255}}},
        {"empty", PropertyTable{{"a", PropertyArray{}}, {"t", PropertyTable{}}, {"d", Data{}}, {"s", ""}}},
    };
    EXPECT_EQ(read(writeXmlPropertyList(value)), value);
    EXPECT_EQ(read(writeXmlPropertyList(PropertyArray{base::Uuid{{1}}, nullptr, "\x01"})),
              PropertyValue(PropertyArray{"01000000-0000-0000-0000-000000000000", "", "\uFFFD"}));
}

TEST(XmlPropertyList, TellsLineAndFault)
{
    const std::string deep = std::string(3, '\n') + [] {
        std::string text;
        for (int i = 0; i < 1025; ++i)
            text += "<array>";
        return text;
    }();
    struct Row {
        std::string text;
        const char* fault;
    };
    for (const Row& row : std::vector<Row>{
             {"", "line 1: the property list ends too early"},
             {"<plist>\n<dict>\n<key>a</key>\n<strin>x</strin>\n</dict></plist>",
              "line 4: <strin> is no kind of value"},
             {"<plist>\n<dict>\n<key>a</key>\n</dict></plist>", "line 4: </dict> where a value is expected"},
             {"<plist><dict>\n<integer>1</integer>", "line 2: <key> expected in <dict>"},
             {"<array>\n<integer>12a</integer></array>", "line 2: no valid <integer>"},
             {"<integer>18446744073709551616</integer>", "line 1: no valid <integer>"},
             {"<integer>-9223372036854775809</integer>", "line 1: no valid <integer>"},
             {"<real>1.5x</real>", "line 1: no valid <real>"},
             {"<data>A</data>", "line 1: no valid <data>"},
             {"<string>a\nb", "line 1: <string> does not end"},
             {"<string>a\nb</key>", "line 2: </string> expected"},
             {"<string>&#xD800;</string>", "line 1: &#xD800; is no character"},
             {"<string>&lol;</string>", "line 1: &lol; is no character"},
             {"<string>&amp</string>", "line 1: an & without its ;"},
             {"<true/>\n<false/>", "line 2: something stands behind the property list"},
             {"<plist/>", "line 1: <plist> without a value"},
             {"<!DOCTYPE plist [<!ENTITY lol \"lol\">]><true/>",
              "line 1: a document type with declarations of its own"},
             {"<!-- <true/>", "line 1: the comment does not end"},
             {"<?xml <true/>", "line 1: the declaration does not end"},
             {"<!DOCTYPE plist", "line 1: the document type does not end"},
             {"<string><![CDATA[a]>", "line 1: the character data does not end"},
             {"<plist>\n</plist>", "line 2: </plist> where a value is expected"},
             {"</plist>", "line 1: <plist> without a value"},
             {"<plist><true/>\n<true/></plist>", "line 2: </plist> expected"},
             {"<array>\n</dict>", "line 2: </dict> where a value is expected"},
             {"<dict></array>", "line 1: <key> expected in <dict>"},
             {"<dict><key>a</key>", "line 1: the property list ends too early"},
             {deep.substr(0, deep.size() - 7), "line 4: the property list ends too early"},
             {"<array", "line 1: a tag does not end"},
             {"hello", "line 1: a tag is expected here"},
             {deep, "line 4: nested too deeply"},
         })
        EXPECT_EQ(faultOf(row.text), row.fault) << row.text.substr(0, 60);
}

TEST(XmlPropertyList, TakesACharacterByItsNumber)
{
    const std::pair<const char*, const char*> characters[] = {
        {"&#1;", "\x01"},
        {"&#65;", "A"},
        {"&#000000065;", "A"},
        {"&#x7f;&#x80;", "\x7F\xC2\x80"},
        {"&#xD7FF;", "\uD7FF"},
        {"&#xE000;", "\uE000"},
        {"&#xFFFF;", "\uFFFF"},
        {"&#x10000;", "\U00010000"},
        {"&#x10FFFF;", "\U0010FFFF"},
        {"&#1114111;", "\U0010FFFF"},
    };
    for (const auto& [written, character] : characters)
        EXPECT_EQ(read("<string>[" + std::string(written) + "]</string>"),
                  PropertyValue("[" + std::string(character) + "]"))
            << written;
    for (const char* const name :
         {"#0", "#x0", "#xD800", "#xDFFF", "#x110000", "#xFFFFFFFF", "#", "#x", "#6a", "#xG1", "#-65", "65", "LT", ""})
        EXPECT_EQ(faultOf("<string>\n&" + std::string(name) + ";</string>"),
                  "line 2: &" + std::string(name) + "; is no character");
    EXPECT_EQ(faultOf("<string>&#0000000065;</string>"), "line 1: an & without its ;") << "none is so long";
}

TEST(XmlPropertyList, KeepsToItsLimits)
{
    const std::string text = "<array><string>four</string><string>more</string></array>";
    EXPECT_EQ(faultOf(text, {.depth = 1, .values = 3, .bytes = 8}), "no fault");
    EXPECT_EQ(faultOf(text, {.depth = 0}), "line 1: nested too deeply");
    EXPECT_EQ(faultOf(text, {.values = 2}), "line 1: more values than a property list may hold");
    EXPECT_EQ(faultOf(text, {.bytes = 7}), "line 1: more text than a property list may hold");
}
