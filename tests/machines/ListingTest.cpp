// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/recorded/RegistryListing.h"
#include "system/propertylist/PropertyList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <string_view>

using namespace vantorel;
using recorded::Fault;
using system::RegistryEntry;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Read {
    std::vector<RegistryEntry> entries;
    std::vector<Fault> faults;
};

Read read(std::string_view text)
{
    Read result;
    result.entries = recorded::readListing(Data(text.begin(), text.end()), "ioreg.txt", result.faults);
    return result;
}

std::vector<std::string> texts(const std::vector<Fault>& faults)
{
    std::vector<std::string> texts;
    for (const Fault& fault : faults)
        texts.push_back(fault.text());
    return texts;
}

/// The value of the one property of the one entry of a text listing.
PropertyValue value(const std::string& printed)
{
    const Read listing = read("+-o A  <class B, id 0x1, retain 4>\n  {\n    \"key\" = " + printed + "\n  }\n");
    const PropertyValue* const found = listing.entries[0].properties.lookUp("key");
    return found ? *found : PropertyValue("no value, faults: " + std::to_string(listing.faults.size()));
}

} // namespace

TEST(TextListing, ReadsTheTreeAsIoregDrawsIt)
{
    const Read listing = read(R"(+-o Root  <class IORegistryEntry, id 0x100000100, retain 26>
  | {
  |   "OS Build Version" = "20B29"
  | }
  | 
  +-o J313AP  <class IOPlatformExpertDevice, id 0x10000021a, registered, matched, active, busy 0 (1 ms), retain 39>
  | +-o sata@1F,2  <class IOPCIDevice, id 0x100000221, !registered, !matched, active, busy 0, retain 5>
  | | {
  | |   "IOUnit" = 1
  | | }
  | +-o name @ home@0  <class IOService, id 0x100000222, retain 5>
  +-o Plain  <class IOService>
)");
    EXPECT_THAT(texts(listing.faults), IsEmpty());
    ASSERT_EQ(listing.entries.size(), 5U);
    const RegistryEntry& sata = listing.entries[2];
    EXPECT_EQ(sata.name, "sata");
    EXPECT_EQ(sata.location, "1F,2");
    EXPECT_EQ(sata.className, "IOPCIDevice");
    EXPECT_EQ(sata.id, 0x100000221U);
    EXPECT_THAT(sata.parents, ElementsAre(0x10000021aU));
    EXPECT_EQ(sata.properties.get<int>("IOUnit"), 1);
    EXPECT_EQ(listing.entries[3].name, "name @ home");
    EXPECT_EQ(listing.entries[3].location, "0");
    EXPECT_NE(listing.entries[4].id, 0U);
    EXPECT_THAT(listing.entries[4].parents, ElementsAre(0x100000100U));
    EXPECT_EQ(listing.entries[0].properties.get<std::string>("OS Build Version"), "20B29");
}

TEST(TextListing, ReadsEveryKindOfValue)
{
    EXPECT_EQ(value("Yes"), PropertyValue(true));
    EXPECT_EQ(value("No"), PropertyValue(false));
    EXPECT_EQ(value("18446744072635809794"), PropertyValue(18446744072635809794U));
    EXPECT_EQ(value("-5"), PropertyValue(-5));
    EXPECT_EQ(value("\"\""), PropertyValue(""));
    EXPECT_EQ(value("\"say \"hi\", twice\""), PropertyValue("say \"hi\", twice"));
    EXPECT_EQ(value("\"two\nlines\n\""), PropertyValue("two\nlines\n"));
    EXPECT_EQ(value("\"\xC3\x28\""), PropertyValue("\uFFFD("));
    EXPECT_EQ(value("<>"), PropertyValue(Data{}));
    EXPECT_EQ(value("<00ff1A>"), PropertyValue(Data{0, 0xFF, 0x1A}));
    EXPECT_EQ(value("<\"disk\",\"a>b\">"), PropertyValue(Data{'d', 'i', 's', 'k', 0, 'a', '>', 'b', 0}));
    EXPECT_EQ(value("()"), PropertyValue(PropertyArray{}));
    EXPECT_EQ(value("[1,\"a\"]"), PropertyValue(PropertyArray{1, "a"}));
    EXPECT_EQ(value("{}"), PropertyValue(PropertyTable{}));
    EXPECT_EQ(value(R"(({"a"="x "y" z","b"=(<01>,No)},{"c=d"=7}))"),
              PropertyValue(PropertyArray{PropertyTable{{"a", "x \"y\" z"}, {"b", PropertyArray{Data{1}, false}}},
                                          PropertyTable{{"c=d", 7}}}));
    EXPECT_EQ(value("<--->"), PropertyValue("no value, faults: 0")) << "taken out by whoever sent the listing";
}

TEST(TextListing, PassesOverWhatIsDamagedAndSaysWhere)
{
    for (const char* const damaged : {"", "Maybe", "\"no end", "<0g>", "<001>", "<00", "(1,2", "(1 2)", "{\"a\"=1",
                                      "{\"a\"}", "{1=2}", "1 2", "99999999999999999999"})
        EXPECT_EQ(value(damaged), PropertyValue("no value, faults: 1")) << damaged;
    EXPECT_EQ(value(std::string(5000, '(')), PropertyValue("no value, faults: 1"));

    const Read listing = read("Last login: Mon\n"
                              "  \"early\" = 1\n"
                              "+-o A  <class B, id 0xZZ, retain 4>\n"
                              "  | {\n"
                              "  |   \"a\" = (1,2...\n"
                              "  |   \"b\" = \"a text that goes on\n"
                              "  +-o C@1\n");
    EXPECT_THAT(texts(listing.faults), ElementsAre("ioreg.txt: line 1: neither an entry nor a property",
                                                   "ioreg.txt: line 2: a property without an entry",
                                                   "ioreg.txt: line 3: an id that is no number",
                                                   "ioreg.txt: line 5: the value of \"a\" is damaged or cut off",
                                                   "ioreg.txt: line 6: the value of \"b\" is damaged or cut off",
                                                   "ioreg.txt: line 7: an entry without its class"));
    ASSERT_EQ(listing.entries.size(), 2U);
    EXPECT_EQ(listing.entries[1].location, "1");
}

TEST(Listing, GivesAnEntryThatIsShownTwiceAllItsParents)
{
    const Read text = read("+-o Root  <class IORegistryEntry, id 0x1>\n"
                           "  +-o a  <class AppleRAIDMember, id 0x2>\n"
                           "  | +-o set  <class AppleRAIDMirrorSet, id 0x4>\n"
                           "  |     {\n"
                           "  |       \"n\" = 1\n"
                           "  |     }\n"
                           "  +-o b  <class AppleRAIDMember, id 0x3>\n"
                           "    +-o set  <class AppleRAIDMirrorSet, id 0x4>\n"
                           "        {\n"
                           "          \"n\" = 2\n"
                           "        }\n");
    ASSERT_EQ(text.entries.size(), 4U);
    EXPECT_THAT(text.entries[2].parents, ElementsAre(2, 3));
    EXPECT_EQ(text.entries[2].properties.get<int>("n"), 1);
}

TEST(Listing, ReadsThePropertyListForm)
{
    const auto entry = [](int id, const char* name, PropertyArray children) {
        return PropertyTable{{"IORegistryEntryID", id},
                             {"IORegistryEntryName", name},
                             {"IOObjectClass", "IOService"},
                             {"IOObjectRetainCount", 7},
                             {"IOServiceState", 30},
                             {"Unit", id},
                             {"IORegistryEntryChildren", std::move(children)}};
    };
    PropertyTable located = entry(3, "leaf", {});
    located.emplace("IORegistryEntryLocation", "1F,2");
    located.emplace("IOObjectInheritance", PropertyArray{"OSObject", "IOMedia"});
    PropertyTable unnumbered{{"IORegistryEntryName", "no id"}};
    PropertyTable wrong = entry(0, "bad id", {});
    const PropertyTable root = entry(
        1, "Root",
        {entry(2, "first", {located}), entry(4, "second", {located}), unnumbered, wrong, 5, PropertyTable{{"a", 1}}});
    const Read listing = read(system::writeXmlPropertyList(root));
    ASSERT_EQ(listing.entries.size(), 6U);
    EXPECT_EQ(listing.entries[2].name, "leaf");
    EXPECT_EQ(listing.entries[2].location, "1F,2");
    EXPECT_THAT(listing.entries[2].inheritance, ElementsAre("OSObject", "IOMedia"));
    EXPECT_THAT(listing.entries[2].parents, ElementsAre(2, 4));
    EXPECT_EQ(listing.entries[2].properties, (PropertyTable{{"Unit", 3}})) << "what ioreg adds is no property";
    EXPECT_NE(listing.entries[4].id, listing.entries[5].id);
    EXPECT_THAT(texts(listing.faults), ElementsAre("ioreg.txt: root/Root: a child that is no registry entry",
                                                   "ioreg.txt: root/Root: IORegistryEntryID is no id",
                                                   "ioreg.txt: root/Root: an entry without name and class"));
    EXPECT_EQ(read(system::writeXmlPropertyList(PropertyArray{entry(1, "a", {}), 7, entry(2, "b", {})})).entries.size(),
              2U)
        << "ioreg -r writes an array";
}

TEST(Listing, CostsNoMoreThanItsBytes)
{
    const auto entry = [](const std::string& name, const std::string& inside) {
        return "<dict><key>IORegistryEntryName</key><string>" + name + "</string>" + inside + "</dict>";
    };
    const auto children = [](const std::string& entries) {
        return "<key>IORegistryEntryChildren</key><array>" + entries + "</array>";
    };
    const auto repeated = [](const std::string& text, std::size_t count) {
        std::string all;
        for (std::size_t i = 0; i < count; ++i)
            all += text;
        return all;
    };
    // Were the path of each entry kept, these would take 6 GB.
    const std::string longName(300'000, 'n');
    const Read wide = read(entry(longName, children(repeated(entry("c", ""), 20'000))));
    EXPECT_EQ(wide.entries.size(), 20'001U);

    // Were what lies below an entry copied, each level of these would cost as much as the first.
    const auto timeOf = [&](int levels) {
        std::string deep = "<key>v</key><array>" + repeated("<string>sixteen and more</string>", 50'000) + "</array>";
        for (int level = 0; level < levels; ++level)
            deep = children(entry("e", deep));
        const std::clock_t begin = std::clock();
        EXPECT_EQ(read(entry("top", deep)).entries.size(), static_cast<std::size_t>(levels) + 1);
        return std::clock() - begin;
    };
    EXPECT_LT(timeOf(500), 4 * timeOf(1));

    // And of a fault that is everywhere a thousand are told, each with the end of its path.
    const std::string shortName(99, 's');
    const Read damaged = read(entry(longName, children(entry(shortName, children(repeated("<true/>", 5000))))));
    EXPECT_EQ(damaged.faults.size(), 1001U);
    EXPECT_EQ(damaged.faults[0].place, ".../" + longName.substr(0, 100) + "/" + shortName);
}

TEST(Listing, IsRefusedWhenThereIsNoEntryInIt)
{
    for (const auto& [text, fault] : std::vector<std::pair<std::string, std::string>>{
             {"", "ioreg.txt: no registry entry in it"},
             {"hello\n", "ioreg.txt: no registry entry in it"},
             {"<plist><dict/></plist>", "ioreg.txt: no registry entry in it"},
             {"<plist><true/></plist>", "ioreg.txt: no registry entry in it"},
             {"<plist>\n<dict>", "ioreg.txt: line 2: the property list ends too early"},
         }) {
        try {
            read(text);
            ADD_FAILURE() << text;
        } catch (const recorded::RecordingError& error) {
            EXPECT_EQ(error.what(), fault);
        }
    }
    EXPECT_THROW(read("bplist00"), recorded::RecordingError);
}
