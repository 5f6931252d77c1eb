// SPDX-License-Identifier: GPL-2.0-or-later
// The verbs that look at the disks of a machine.
#include "support/RunCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace vantorel {
namespace {

using Json = nlohmann::json;
using test::runCommand;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const std::string laptop = " --machine " VANTOREL_SAMPLES "/machines/laptop";
const std::string tower = " --machine " VANTOREL_SAMPLES "/machines/tower";

std::vector<Json> jsonLines(const std::string& text)
{
    std::vector<Json> documents;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        documents.push_back(Json::parse(line));
    return documents;
}

TEST(ListCommand, DrawsTheTreeOfTheTower)
{
    const auto run = runCommand("list" + tower);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, test::contentsOf(VANTOREL_TEST_DATA "/command/tower-list.txt"));
    EXPECT_EQ(run.err, "");
}

TEST(ListCommand, PrintsTheTreeAsJson)
{
    const Json document = Json::parse(runCommand("list --json" + tower).out);
    EXPECT_EQ(document["machine"], VANTOREL_SAMPLES "/machines/tower");
    const Json& ssd = document["disks"][0];
    EXPECT_EQ(ssd["diskType"], "drive");
    EXPECT_EQ(ssd["interface"], "ahci");
    EXPECT_EQ(ssd["children"][1]["coreStorageVolume"], "disk4");
    const Json& logical = ssd["children"][1]["children"][0];
    EXPECT_EQ(logical["logicalVolume"], "disk0s2");
    EXPECT_EQ(logical["mountPoint"], "/");
    EXPECT_EQ(logical["children"], Json::array());
    EXPECT_EQ(document["disks"][1]["children"][1]["raidSet"], "disk5");
    EXPECT_FALSE(document["disks"][1]["children"][0].contains("raidSet"));
}

TEST(ListCommand, ASampleIsShownWhenItIsAskedFor)
{
    EXPECT_EQ(runCommand("list --machine sample:tower").out, runCommand("list" + tower).out);
    const auto unknown = runCommand("list --machine sample:../machines");
    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(unknown.err, "vantorel: sample:../machines: there is no such sample; there are laptop, tower\n");
    EXPECT_EQ(runCommand("list --wake" + tower).status, 1) << "only drives of this computer sleep";
}

TEST(ListCommand, AMachineWithoutDisksIsNoSuccess)
{
    const test::TemporaryFolder folder;
    const std::string machine =
        " --machine " + folder.write("ioreg.txt", "+-o Root  <class IORegistryEntry, id 0x1>\n");
    for (const std::string verb : {"list", "stats", "smart", "check"}) {
        const auto run = runCommand(verb + machine);
        EXPECT_EQ(run.status, 1) << verb;
        EXPECT_THAT(run.out, testing::AnyOf("No disks.\n", "No drives.\n")) << verb;
        EXPECT_EQ(runCommand(verb + " --json" + machine).status, 1) << verb;
    }
}

TEST(ListCommand, WritesNumbersTheSameInEveryLocale)
{
    const std::string json = runCommand("list --json" + tower).out;
    const std::string health = runCommand("smart --json" + tower).out;
    setenv("LC_ALL", "de_DE.UTF-8", 1);
    EXPECT_EQ(runCommand("list" + tower).out, test::contentsOf(VANTOREL_TEST_DATA "/command/tower-list.txt"));
    EXPECT_EQ(runCommand("list --json" + tower).out, json);
    EXPECT_EQ(runCommand("smart --json" + tower).out, health);
    const Json volume = Json::parse(json)["disks"][0]["children"][1]["children"][0];
    EXPECT_TRUE(volume["freeSpace"].is_number_integer());
    EXPECT_EQ(volume["freeSpace"], 21474836480);
}

/// The text of a listing of one drive with this many partitions.
std::string listingOf(const std::string& model, int partitions)
{
    std::string text =
        "+-o Root  <class IORegistryEntry, id 0x1>\n"
        "  +-o IOBlockStorageDevice  <class IOBlockStorageDevice, id 0x2>\n"
        "    | {\n    |   \"Device Characteristics\" = {\"Product Name\"=\"" +
        model +
        "\"}\n    | }\n    | \n"
        "    +-o IOBlockStorageDriver  <class IOBlockStorageDriver, id 0x3>\n"
        "      +-o Media  <class IOMedia, id 0x4>\n"
        "        | {\n        |   \"BSD Name\" = \"disk0\"\n        |   \"Whole\" = Yes\n        | }\n        | \n";
    for (int i = 1; i <= partitions; ++i)
        text += "        +-o Part  <class IOMedia, id 0x" + std::to_string(1000 + i) +
                ">\n            {\n              \"BSD Name\" = \"disk0s" + std::to_string(i) +
                "\"\n              \"Whole\" = No\n            }\n";
    return text;
}

TEST(ListCommand, PartitionsStandUnderTheirDiskInTheNamesOfLinuxToo)
{
    Json media = Json::array();
    int unit = -1;
    for (const std::string name :
         {"vda", "sda", "sda1", "nvme1n1", "nvme1n1p1", "nvme1n1p12", "mmcblk0", "sds", "sds2"}) {
        const bool isWhole = std::string("vda sda sds nvme1n1 mmcblk0").find(name) != std::string::npos;
        unit += isWhole ? 1 : 0;
        media.push_back({{"IOObjectClass", "IOMedia"},
                         {"IORegistryEntryName", name},
                         {"BSD Name", name},
                         {"BSD Unit", unit},
                         {"Whole", isWhole}});
    }
    const Json device = {{"IOObjectClass", "IOBlockStorageDevice"}, {"IORegistryEntryChildren", media}};
    Json document;
    document["registry"] = {{"IOObjectClass", "IORegistryEntry"}, {"IORegistryEntryChildren", Json::array({device})}};
    const test::TemporaryFolder folder;
    const auto run = runCommand("list --json --machine " + folder.write("machine.json", document.dump()));
    const Json listed = Json::parse(run.out);
    std::string tree;
    for (const Json& disk : listed["disks"]) {
        tree += disk["bsdName"].get<std::string>() + "(";
        for (const Json& child : disk["children"])
            tree += child["bsdName"].get<std::string>() + " ";
        tree += ") ";
    }
    EXPECT_EQ(tree, "vda() sda(sda1 ) nvme1n1(nvme1n1p1 nvme1n1p12 ) mmcblk0() sds(sds2 ) ");
}

TEST(ListCommand, AHostileNameCannotDriveTheTerminal)
{
    const test::TemporaryFolder folder;
    const std::string listing =
        folder.write("ioreg.txt", listingOf("A\x1B[31mB\xff\u202EC\u2069D\u061CE\u009BF\u2028G\u00E9\u200A", 0));
    const auto run = runCommand("list --machine " + listing);
    EXPECT_THAT(run.out, HasSubstr("A [31mB\uFFFD C D E F G\u00E9\u200A"));
    EXPECT_THAT(runCommand("list --json --machine " + listing).out, HasSubstr("A\\u001b[31mB\uFFFD\u202E"));
    EXPECT_EQ(runCommand("list --machine \"$(printf 'no\\033[31m\\342\\200\\256ne')\"").err,
              "vantorel: no [31m ne: No such file or directory\n");
}

TEST(ListCommand, ALongNameNeitherFillsTheOtherLinesNorTakesLong)
{
    std::string model;
    for (int i = 0; i < 500'000; ++i)
        model += "\u0085";
    const test::TemporaryFolder folder;
    const std::string listing = folder.write("ioreg.txt", listingOf(model + "end", 300));
    const auto begin = std::chrono::steady_clock::now();
    const auto run = runCommand("list --machine " + listing);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_EQ(std::ranges::count(run.out, '\n'), 302);
    EXPECT_THAT(run.out, HasSubstr(" end"));
    EXPECT_LT(run.out.size(), 600'000U);
}

TEST(Command, LosesNoOutputToAStandardErrorThatTakesNothing)
{
    const auto run = runCommand("smart disk6 disk1" + tower);
    ASSERT_FALSE(run.err.empty());
    for (const std::string redirection : {"2>/dev/full", "2>&-"}) {
        const auto other = runCommand("smart disk6 disk1" + tower, redirection);
        EXPECT_EQ(other.status, run.status) << redirection;
        EXPECT_EQ(other.out, run.out) << redirection;
        EXPECT_EQ(runCommand("frobnicate", redirection).status, 1);
    }
    EXPECT_EQ(runCommand("list" + tower, ">&-").err, "vantorel: standard output: Bad file descriptor\n");
}

TEST(WatchCommand, TellsArrivalChangeAndRemovalInOrder)
{
    const auto run = runCommand("watch --json --count 15" + laptop);
    EXPECT_EQ(run.status, 0);
    std::vector<std::string> told;
    for (const Json& document : jsonLines(run.out))
        told.push_back(document["event"].get<std::string>() + " " + document["disk"]["bsdName"].get<std::string>());
    EXPECT_THAT(told, ElementsAre("appeared disk0", "appeared disk0s1", "appeared disk0s2", "appeared disk1",
                                  "appeared disk1s1", "appeared disk1s2", "appeared disk1s3", "appeared disk1s4",
                                  "appeared disk1s5", "appeared disk2", "appeared disk2s1", "updated disk2s1",
                                  "updated disk2s1", "disappeared disk2s1", "disappeared disk2"));
}

TEST(WatchCommand, EndsInTimeOrWithTheEvents)
{
    EXPECT_THAT(runCommand("watch --for 0" + tower).out, HasSubstr("appeared     disk0 "));
    EXPECT_EQ(jsonLines(runCommand("watch --json --count 2" + tower).out).size(), 2U);
    EXPECT_EQ(runCommand("watch --count 0" + tower).status, 1);
    for (const std::string time : {"soon", "-1", "nan", "inf", "86400.5", "1s"}) {
        const auto run = runCommand("watch --for " + time + tower);
        EXPECT_EQ(run.status, 1) << time;
        EXPECT_THAT(run.err, HasSubstr(time + " is no number of seconds from 0 to 86400\n"));
    }
}

TEST(StatsCommand, ShowsCountersAndTheirRates)
{
    EXPECT_THAT(runCommand("stats disk0" + laptop).out, HasSubstr("disk0  read       615801  14.16 GB"));
    EXPECT_EQ(jsonLines(runCommand("stats --json WD-WCAPW0TOWER1 /dev/disk0" + tower).out)[0]["drives"][0]["bsdName"],
              "disk1");
    const auto documents = jsonLines(runCommand("stats --json --interval 0.01 --count 2" + laptop).out);
    ASSERT_EQ(documents.size(), 3U);
    const Json& drive = documents[2]["drives"][0];
    EXPECT_EQ(drive["statistics"]["readOperations"].dump(), "615801");
    EXPECT_EQ(drive["perSecond"]["readOperations"], 0);
    EXPECT_FALSE(documents[0]["drives"][0].contains("perSecond"));
}

TEST(StatsCommand, WrongUseIsOneLineAndStatusOne)
{
    const std::pair<std::string, std::string> cases[] = {
        {"stats disk0s1" + laptop, "vantorel: disk0s1: there is no such drive\n"},
        {"list --machine /nowhere", "vantorel: /nowhere: No such file or directory\n"},
        {"stats --interval 0.001" + laptop, "0.001 is no number of seconds from 0.01 to 86400\n"},
        {"stats --count 3" + laptop, ""},
    };
    for (const auto& [arguments, error] : cases) {
        const auto run = runCommand(arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        EXPECT_EQ(run.out, "") << arguments;
        EXPECT_THAT(run.err, HasSubstr(error));
    }
}

} // namespace
} // namespace vantorel
