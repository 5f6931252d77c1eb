// SPDX-License-Identifier: GPL-2.0-or-later
// The verbs that look at the disks of a machine.
#include "support/RunCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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

TEST(ListCommand, ShowsTheSampleAndSaysSoWhenNoMachineIsGiven)
{
    const auto run = runCommand("list --json");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, HasSubstr("no --machine given: this is the sample "));
    EXPECT_EQ(Json::parse(run.out)["disks"].size(), 1U);
}

TEST(ListCommand, AHostileNameCannotDriveTheTerminal)
{
    const test::TemporaryFolder folder;
    const std::string listing = folder.write(
        "ioreg.txt", "+-o Root  <class IORegistryEntry, id 0x1>\n"
                     "  +-o IOBlockStorageDevice  <class IOBlockStorageDevice, id 0x2>\n"
                     "    | {\n    |   \"Device Characteristics\" = {\"Product Name\"=\"A\x1B[31mB\xff\"}\n    | }\n"
                     "    | \n"
                     "    +-o IOBlockStorageDriver  <class IOBlockStorageDriver, id 0x3>\n"
                     "      +-o Media  <class IOMedia, id 0x4>\n"
                     "          {\n            \"BSD Name\" = \"disk0\"\n            \"Whole\" = Yes\n          }\n");
    const auto run = runCommand("list --machine " + listing);
    EXPECT_THAT(run.out, HasSubstr("A [31mB\uFFFD"));
    EXPECT_THAT(run.out, Not(HasSubstr("\x1B")));
    EXPECT_THAT(runCommand("list --json --machine " + listing).out, HasSubstr("A\\u001b[31mB\uFFFD"));
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
    EXPECT_EQ(runCommand("watch --for soon" + tower).status, 1);
}

TEST(StatsCommand, ShowsCountersAndTheirRates)
{
    EXPECT_THAT(runCommand("stats disk0" + laptop).out, HasSubstr("disk0  read       615801  14.16 GB"));
    const auto documents = jsonLines(runCommand("stats --json --interval 0.01 --count 2" + laptop).out);
    ASSERT_EQ(documents.size(), 3U);
    const Json& drive = documents[2]["drives"][0];
    EXPECT_EQ(drive["statistics"]["readOperations"], 615801);
    EXPECT_EQ(drive["perSecond"]["readOperations"], 0);
    EXPECT_FALSE(documents[0]["drives"][0].contains("perSecond"));
}

TEST(StatsCommand, WrongUseIsOneLineAndStatusOne)
{
    const std::pair<std::string, std::string> cases[] = {
        {"stats disk0s1" + laptop, "vantorel: disk0s1: no such drive\n"},
        {"list --machine /nowhere", "vantorel: /nowhere: No such file or directory\n"},
        {"stats --interval 0" + laptop, ""},
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
