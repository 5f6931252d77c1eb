// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/Localization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace vantorel::system {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

Data bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

Translations parsed(std::string_view text)
{
    return parseTranslations(bytesOf(text));
}

TEST(Localization, WithoutATableTheKeyComesBack)
{
    EXPECT_EQ(localized("hours"), "hours");
    setTranslations({{"hours", "Stunden"}, {"", "empty"}});
    EXPECT_EQ(localized("hours"), "Stunden");
    EXPECT_EQ(localized("Hours"), "Hours");
    setTranslations({});
    EXPECT_EQ(localized("hours"), "hours");
}

TEST(Localization, ReadsTheTextForm)
{
    const Translations expected = {
        {"a key", "a \"value\"\n"}, {"bare", "word"}, {"alone", "alone"}, {"\u00B0", "\U0001F4BE\u00E9A"}};
    EXPECT_EQ(parsed("/* a = \"b\"; */ \"a key\" = \"a \\\"value\\\"\\n\";\r\n// \"x\" = \"y\";\n bare=word; alone ;\n"
                     "\"\u00B0\" = \"\\ud83d\\UDCBE\\351\\101\";"),
              expected);
    EXPECT_EQ(parsed("{ a = b; a = c; }"), (Translations{{"a", "c"}}));
    EXPECT_EQ(parsed(""), Translations());
    EXPECT_EQ(parsed("\"\\ud83d\\u0041\" = \"\\udcbe\";"), (Translations{{"\uFFFD", "\uFFFD"}}));
}

TEST(Localization, TextInUtf16IsToldByItsMark)
{
    const std::string_view text = "\"k\" = \"v\";";
    Data little = {0xFF, 0xFE};
    Data big = {0xFE, 0xFF};
    for (const char c : text) {
        little.insert(little.end(), {static_cast<std::uint8_t>(c), 0});
        big.insert(big.end(), {0, static_cast<std::uint8_t>(c)});
    }
    EXPECT_EQ(parseTranslations(little), (Translations{{"k", "v"}}));
    EXPECT_EQ(parseTranslations(big), (Translations{{"k", "v"}}));
    EXPECT_EQ(parsed("\xEF\xBB\xBF" + std::string(text)), (Translations{{"k", "v"}}));
    little.pop_back();
    EXPECT_THROW((void)parseTranslations(little), TranslationError) << "half a character";
}

TEST(Localization, EveryFaultNamesItsLine)
{
    const std::pair<const char*, const char*> faults[] = {
        {"\"a\" = \"b\"", "line 1: ';' is missing"},
        {"\n\"a\" \"b\";", "line 2: ';' is missing"},
        {"a = ;", "line 1: a text is missing"},
        {"\n\n\"a", "line 3: a text without closing quote"},
        {"\"a\\", "line 1: a text without closing quote"},
        {"/* a", "line 1: a comment without end"},
        {"{ a = b;", "line 1: '}' is missing"},
        {"{ a = b; } c", "line 1: text behind the end"},
        {"a = b; }", "line 1: text behind the end"},
        {"\"\\Uxyz\" = b;", "line 1: an escape without its digits"},
        {"<plist", "line 1"},
        {"bplist00", ""},
    };
    for (const auto& [text, message] : faults)
        EXPECT_THAT([&file = text] { (void)parsed(file); }, ThrowsMessage<TranslationError>(HasSubstr(message)))
            << text;
}

TEST(Localization, ReadsAPropertyListOfTexts)
{
    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">";
    EXPECT_EQ(parsed(head + "<dict><key>hour</key><string>Stunde</string></dict></plist>"),
              (Translations{{"hour", "Stunde"}}));
    EXPECT_THAT([&] { (void)parsed(head + "<dict><key>hour</key><integer>1</integer></dict></plist>"); },
                ThrowsMessage<TranslationError>("the value of \"hour\" is no text"));
    EXPECT_THAT([&] { (void)parsed(head + "<array/></plist>"); },
                ThrowsMessage<TranslationError>("the property list is no table"));
}

TEST(Localization, AFileThatCannotBeReadLeavesTheTableAlone)
{
    const std::string path = testing::TempDir() + "/vantorel-Localizable.strings";
    setTranslations({{"hour", "Stunde"}});
    EXPECT_THAT([&] { loadTranslations(path + ".none"); },
                ThrowsMessage<TranslationError>(HasSubstr(".none: No such file")));
    std::ofstream(path) << "\"hour\" = ";
    EXPECT_THAT([&] { loadTranslations(path); }, ThrowsMessage<TranslationError>(HasSubstr("strings: line 1")));
    EXPECT_THROW(loadTranslations(testing::TempDir()), TranslationError);
    EXPECT_EQ(localized("hour"), "Stunde");
    std::ofstream(path) << "\"hour\" = \"heure\";";
    loadTranslations(path);
    EXPECT_EQ(localized("hour"), "heure");
    std::remove(path.c_str());
}

} // namespace
} // namespace vantorel::system
