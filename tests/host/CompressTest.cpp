// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"
#include "support/TestData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace vantorel {
namespace {

using test::contentsOf;
using test::runCommand;
using testing::HasSubstr;

const std::string table = std::string(VANTOREL_TEST_DATA) + "/lzfse/table.tsv";

std::size_t filesIn(const std::string& folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(CompressCommand, GivesTheFileBackThroughPipesAndThroughFiles)
{
    const test::TemporaryFolder folder;
    const std::string packed = folder.file("packed");
    const std::string plain = folder.file("plain");
    for (const std::string algorithm : {"lz4", "zlib", "lzma", "lzfse"}) {
        const std::string option = " --algorithm " + algorithm + ' ';
        EXPECT_EQ(runCommand("compress" + option + table + " -o " + packed).status, 0);
        EXPECT_LT(std::filesystem::file_size(packed), 30'000U);
        EXPECT_EQ(runCommand("expand" + option + packed).out, contentsOf(table));
        EXPECT_EQ(runCommand("expand" + option + packed + " -o " + plain).status, 0);
        EXPECT_EQ(contentsOf(plain), contentsOf(table));
    }
    EXPECT_EQ(runCommand("expand " + table + ".lzfse").out, contentsOf(table)) << "LZFSE when nothing is said";
}

TEST(CompressCommand, AFailedRunLeavesNoFileAndNoOtherThanThereWas)
{
    const test::TemporaryFolder folder;
    const std::string whole = contentsOf(table + ".lzfse");
    const std::string cut = folder.write("cut", whole.substr(0, whole.size() - 1));
    const auto run = runCommand("expand " + cut + " -o " + folder.file("new"));
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "vantorel: " + cut + ": stops before the end of its lzfse stream\n");
    EXPECT_EQ(filesIn(folder.file("")), 1U) << "neither the file nor what it grew from";

    const std::string old = folder.write("old", "old");
    EXPECT_EQ(runCommand("expand " + table + " -o " + old).status, 1);
    EXPECT_EQ(contentsOf(old), "old");
    EXPECT_EQ(filesIn(folder.file("")), 2U);
}

TEST(CompressCommand, AnInterruptedRunLeavesNoFile)
{
    const test::TemporaryFolder folder;
    const std::string command = "cd '" + folder.file("") + "' && mkfifo input && exec 3<>input && { '" +
                                VANTOREL_COMMAND + "' compress -o packed <&3 & } && " +
                                "until ls packed.* >/dev/null 2>&1; do sleep 0.01; done; kill -TERM $!; wait $!";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 128 + SIGTERM);
    EXPECT_EQ(filesIn(folder.file("")), 1U) << "the input";
}

TEST(CompressCommand, ReplacesAFileInPlaceAndKeepsItsPermissions)
{
    const test::TemporaryFolder folder;
    const std::string file = folder.write("file", contentsOf(table));
    std::filesystem::permissions(file, std::filesystem::perms(0640));
    EXPECT_EQ(runCommand("compress " + file + " -o " + file).status, 0);
    EXPECT_EQ(runCommand("expand " + file).out, contentsOf(table));
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
}

TEST(CompressCommand, SaysWhatIsLeftOutAndWhatIsWrong)
{
    const test::TemporaryFolder folder;
    const std::string longer = folder.write("longer", contentsOf(table + ".lzfse") + "!");
    const auto run = runCommand("expand " + longer);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, contentsOf(table));
    EXPECT_EQ(run.err, "vantorel: " + longer + ": the bytes behind the end of the stream were left out\n");

    EXPECT_EQ(runCommand("compress " + folder.file("none")).status, 1);
    EXPECT_THAT(runCommand("compress " + folder.file("")).err, HasSubstr("directory"));
    EXPECT_THAT(runCommand("compress -a gzip " + table).err, HasSubstr("gzip"));
    EXPECT_EQ(runCommand("compress " + table + " -o /dev/full").status, 1);
}

} // namespace
} // namespace vantorel
