// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/linux/Sysfs.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include <sys/stat.h>

namespace vantorel::machines {
namespace {

using testing::UnorderedElementsAre;

TEST(Sysfs, ReadsWholeNumbersAlone)
{
    const std::pair<const char*, std::optional<std::uint64_t>> rows[] = {
        {"0", 0},       {"18446744073709551615", ~std::uint64_t{0}},
        {"0x1fF", 511}, {"0xffffffffffffffff", ~std::uint64_t{0}},
        {"010", 10},    {"18446744073709551616", {}},
        {"", {}},       {"0x", {}},
        {"-1", {}},     {" 1", {}},
        {"1 ", {}},     {"1f", {}},
        {"0X1", {}},    {"0x1g", {}},
    };
    for (const auto& [text, number] : rows)
        EXPECT_EQ(parseNumber(text), number) << text;
    const std::pair<std::string, const char*> blanks[] = {
        {" \t a b \r\n", "a b"}, {std::string("\0 a\0", 4), "a"}, {"", ""}, {" \n", ""}, {"x", "x"}};
    for (const auto& [text, inside] : blanks)
        EXPECT_EQ(stripped(text), inside);
}

TEST(Sysfs, TakesLinesWithAKeyForProperties)
{
    const DeviceProperties properties = parseProperties("A=1\nB=x=y\n=none\nno value\nC=\nA=2\nD=caf\xE9");
    EXPECT_EQ(properties, (DeviceProperties{{"A", "2"}, {"B", "x=y"}, {"C", ""}, {"D", "caf\uFFFD"}}));
    EXPECT_EQ(valueOf(properties, "B"), "x=y");
    EXPECT_EQ(valueOf(properties, "E"), "");
    EXPECT_TRUE(parseProperties("").empty());
}

TEST(Sysfs, ReadsAFolderAndNothingThatIsNotThere)
{
    const test::TemporaryFolder files;
    files.write("size", " 0x20\n");
    files.write("words", "12 34\n");
    files.write("blank", "\n");
    files.write("uevent", "K=V\n");
    files.write("full", std::string(Folder::mostTextBytes - 1, 'a') + "bc");
    std::filesystem::create_directory(files.file("inner"));
    files.write("inner/name", "\xE9l\n");
    ASSERT_EQ(mkfifo(files.file("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("../there", files.file("link"));
    const std::string longest(Folder::mostTextBytes - 1, 'l');
    std::filesystem::create_symlink(longest, files.file("long"));

    const Folder folder(files.file(""));
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder.number("size"), 32U);
    EXPECT_EQ(folder.number("words"), std::nullopt);
    EXPECT_EQ(folder.number("blank"), std::nullopt);
    EXPECT_EQ(folder.text("words"), "12 34");
    EXPECT_EQ(folder.text("blank"), std::nullopt);
    EXPECT_EQ(folder.text("full"), std::string(Folder::mostTextBytes - 1, 'a') + "b");
    EXPECT_EQ(folder.text("pipe"), std::nullopt) << "nobody writes into it, and nobody waits";
    EXPECT_EQ(folder.bytes("words", 100), (Data{'1', '2', ' ', '3', '4', '\n'}));
    EXPECT_EQ(folder.bytes("words", 4), (Data{'1', '2', ' ', '3'}));
    EXPECT_EQ(folder.properties("uevent"), (DeviceProperties{{"K", "V"}}));
    EXPECT_EQ(folder.link("link"), "../there");
    EXPECT_EQ(folder.link("long"), longest);
    EXPECT_EQ(folder.link("size"), std::nullopt);
    EXPECT_TRUE(folder.contains("inner/name"));
    EXPECT_THAT(folder.names(),
                UnorderedElementsAre("size", "words", "blank", "uevent", "full", "inner", "pipe", "link", "long"));
    EXPECT_EQ(folder.names().size(), 9U) << "from the start again";
    EXPECT_EQ(folder.folder("inner").text("name"), "\uFFFDl");

    const Folder nowhere;
    const Folder missing = folder.folder("missing");
    for (const Folder& absent : {std::cref(missing), std::cref(nowhere)}) {
        EXPECT_FALSE(absent);
        EXPECT_FALSE(absent.contains("size") || absent.text("size") || absent.number("size"));
        EXPECT_FALSE(absent.bytes("size", 9) || absent.link("link") || absent.folder("inner"));
        EXPECT_TRUE(absent.properties("uevent").empty() && absent.names().empty());
    }
    EXPECT_FALSE(Folder(files.file("size"))) << "a file";
    EXPECT_FALSE(folder.contains("missing") || folder.text("missing") || folder.bytes("missing", 9));
}

} // namespace
} // namespace vantorel::machines
