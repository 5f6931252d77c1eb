// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/TestMachine.h"
#include "system/CallGate.h"
#include "system/files/Bundle.h"
#include "system/files/FileManager.h"
#include "vantorel/system/MessageSink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace vantorel;
using namespace vantorel::system;
using test::TestMachine;
using testing::ElementsAre;

TEST(FileManager, AnswersWithTheMachinesFileSystems)
{
    TestMachine& machine = TestMachine::install();
    machine.mounted = {{"/", "/Volumes/Data"}};
    machine.fileSystems = {{"/", {"disk0", "/", 500, 20, false}},
                           {"/Volumes/Data", {"disk1", "/Volumes/Data", 9, 8, true}}};
    const FileManager& files = FileManager::defaultManager();
    EXPECT_EQ(files.mountedVolumeURLsIncludingResourceValuesForKeys(nullptr, 0), machine.mounted);
    const PropertyTableRef attributes = files.attributesOfFileSystemForPath("/");
    ASSERT_TRUE(attributes);
    EXPECT_EQ(attributes->get<double>(NSFileSystemFreeSize), 20.0);
    EXPECT_EQ(attributes->get<double>(NSFileSystemSize), 500.0);
    EXPECT_EQ(files.attributesOfFileSystemForPath("/none"), nullptr);
    EXPECT_FALSE(files.isWritableFileAtPath("/"));
    EXPECT_TRUE(files.isWritableFileAtPath("/Volumes/Data"));
    EXPECT_FALSE(files.isWritableFileAtPath("/none"));
    EXPECT_TRUE(NSTemporaryDirectory().ends_with('/'));

    setCallGate([](std::string_view) { return false; });
    EXPECT_EQ(files.mountedVolumeURLsIncludingResourceValuesForKeys(nullptr, 0), std::nullopt);
    EXPECT_EQ(files.attributesOfFileSystemForPath("/"), nullptr);
    EXPECT_FALSE(files.isWritableFileAtPath("/Volumes/Data"));
    setCallGate(nullptr);
}

TEST(Bundle, FindsImagesByNameAndNothingOutsideItself)
{
    const auto folder = (std::filesystem::path(testing::TempDir()) / "BundleTest.kext").lexically_normal();
    std::filesystem::create_directories(folder / "Contents/Resources");
    std::ofstream(folder / "Contents/Resources/Internal.icns") << "icon";
    std::ofstream(folder.parent_path() / "Outside.icns") << "icon";
    TestMachine& machine = TestMachine::install();
    machine.bundles["com.apple.iokit.IOStorageFamily"] = folder.string();

    const auto location = KextManagerCreateURLForBundleIdentifier(nullptr, "com.apple.iokit.IOStorageFamily");
    ASSERT_TRUE(location);
    const std::optional<Bundle> bundle = Bundle::bundleWithPath(*location);
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->pathForImageResource("Internal"), (folder / "Contents/Resources/Internal.icns").string());
    EXPECT_EQ(bundle->pathForImageResource("External"), std::nullopt);
    EXPECT_EQ(bundle->pathForImageResource("../Outside"), std::nullopt);
    EXPECT_EQ(bundle->pathForImageResource(""), std::nullopt);
    EXPECT_FALSE(KextManagerCreateURLForBundleIdentifier(nullptr, "unknown"));
    EXPECT_FALSE(Bundle::bundleWithPath(*location + "/none"));
    std::filesystem::remove_all(folder);
}

TEST(Bundle, OfTheLibraryTellsItsVersion)
{
    const std::optional<Bundle> own = Bundle::bundleWithIdentifier("org.quillmere.Vantorel");
    ASSERT_TRUE(own && own->infoDictionary());
    const auto version = own->infoDictionary()->get<std::string>(CFBundleShortVersionString);
    ASSERT_TRUE(version);
    EXPECT_THAT(*version, testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
    EXPECT_FALSE(Bundle::bundleWithIdentifier("com.example.Other"));
}

TEST(MessageSink, TakesTheLibrarysLinesInsteadOfStandardOutput)
{
    std::vector<std::string> lines;
    setMessageSink([&](std::string_view line) { lines.emplace_back(line); });
    testing::internal::CaptureStdout();
    printMessage("Unable to retrieve disk info");
    setMessageSink(nullptr);
    printMessage("Unable to retrieve properties");
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Unable to retrieve properties\n");
    EXPECT_THAT(lines, ElementsAre("Unable to retrieve disk info"));
}

TEST(MessageSink, MayItselfPrintThrowAndSetAnother)
{
    std::vector<std::string> lines;
    testing::internal::CaptureStdout();
    setMessageSink([&](std::string_view line) {
        lines.emplace_back(line);
        printMessage("inside");
        if (line == "second")
            throw std::runtime_error("sink");
        if (line == "third")
            setMessageSink([&](std::string_view next) { lines.push_back("other " + std::string(next)); });
    });
    printMessage("first");
    EXPECT_THROW(printMessage("second"), std::runtime_error);
    printMessage("third");
    printMessage("fourth");
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "inside\ninside\ninside\n");
    EXPECT_THAT(lines, ElementsAre("first", "second", "third", "other fourth"));
}
