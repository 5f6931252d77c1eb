// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"
#include "vantorel/smart/records/RecordJson.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vantorel {
namespace {

using Json = nlohmann::json;
using test::runCommand;
using testing::HasSubstr;
using testing::Not;

const std::string machines = VANTOREL_SAMPLES "/machines/";
const std::string tower = " --machine " + machines + "tower";
const std::string laptop = " --machine " + machines + "laptop";

TEST(SmartCommand, ShowsEveryDriveAndOrsTheBitsOfAll)
{
    const auto run = runCommand("smart" + tower);
    EXPECT_EQ(run.status, 8 | 16 | 32);
    for (const char* model : {"INTEL SSDSA2MH080G1GC", "WDC WD5000AAKS-00TMA0", "SAMSUNG HD501LJ", "Cruzer Glide"})
        EXPECT_THAT(run.out, HasSubstr(model));
    EXPECT_THAT(run.out, HasSubstr("\n!    5  Reallocated Sector Count"));
    EXPECT_THAT(run.out, HasSubstr("disk6  Cruzer Glide\nIt has no SMART data.\n"));
    EXPECT_EQ(run.err, "") << "a stick that nobody asked for";
    const auto stick = runCommand("smart disk6" + tower);
    EXPECT_EQ(stick.status, 2);
    EXPECT_EQ(stick.err, "vantorel: disk6: It has no SMART data.\n");

    const auto brief = runCommand("smart disk1 disk3 --brief" + tower);
    EXPECT_EQ(brief.status, 8 | 16);
    EXPECT_EQ(std::ranges::count(brief.out, '\n'), 3);
    EXPECT_THAT(brief.out, HasSubstr("FAILING: Reallocated Sector Count"));
}

TEST(SmartCommand, PrintsOneDocumentErrorsIncluded)
{
    const auto run = runCommand("smart disk0 N80T0WER disk9 --json" + tower);
    EXPECT_EQ(run.status, 1 | 8 | 16 | 32);
    const Json drives = Json::parse(run.out)["drives"];
    ASSERT_EQ(drives.size(), 3U);
    EXPECT_EQ(drives[0]["status"], 32);
    EXPECT_EQ(fromJson<ATASmartObject>(drives[0]["result"].dump()).deviceInfo.model, "INTEL SSDSA2MH080G1GC");
    EXPECT_EQ(drives[1]["name"], "disk3");
    EXPECT_EQ(drives[2], (Json{{"name", "disk9"}, {"status", 1}, {"error", "There is no such drive."}}));
}

TEST(SmartCommand, AReadThatFailsHidesNoOther)
{
    const test::TemporaryFolder folder;
    std::filesystem::copy(machines + "tower", folder.file("tower"));
    std::string text = test::contentsOf(folder.file("tower/machine.json"));
    const std::string identify = R"("identify": "intel-identify.bin")";
    text.replace(text.find(identify), identify.size(), R"("failures": {"thresholds": "kIOReturnNotReadable"})");
    folder.write("tower/machine.json", text);
    const std::string machine = " --machine " + folder.file("tower");
    const Json drives = Json::parse(runCommand("smart disk0 disk1 --json" + machine).out)["drives"];
    EXPECT_EQ(drives[0]["error"], "Unable to get data tresholds.");
    EXPECT_EQ(drives[0]["status"], 4);
    EXPECT_EQ(drives[1]["status"], 0);
    EXPECT_TRUE(drives[1].contains("result"));
}

TEST(ErrorsCommand, ShowsTheErrorLogNewestFirst)
{
    const test::TemporaryFolder folder;
    const auto entry = [](unsigned char count, unsigned char low, unsigned char high) {
        std::string bytes(64, '\0');
        bytes[0] = static_cast<char>(count);
        bytes[12] = static_cast<char>(low);
        bytes[13] = static_cast<char>(high);
        return bytes;
    };
    std::filesystem::copy(machines + "laptop", folder.file("laptop"));
    folder.write("laptop/nvme-errors.bin", entry(1, 0x05, 0x40) + entry(2, 0x13, 0x42) + std::string(64, '\0'));
    std::string identify = test::contentsOf(folder.file("laptop/nvme-identify.bin"));
    identify[262] = 2; // room for three
    folder.write("laptop/nvme-identify.bin", identify);
    const std::string machine = " --machine " + folder.file("laptop");
    const auto run = runCommand("errors disk0" + machine);
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out,
                testing::ContainsRegex("2 +0 +0x0000 +0x4213 +invalid log page\n +1 .*invalid field in command"));
    const Json document = Json::parse(runCommand("errors disk0 --json" + machine).out);
    EXPECT_EQ(document["errors"][0], (Json{{"count", 2}, {"sqID", 0}, {"cmdID", 0}, {"status", 0x4213}}));

    EXPECT_EQ(runCommand("errors disk9" + laptop).err, "vantorel: disk9: there is no such drive\n");
    EXPECT_EQ(runCommand("errors disk1" + tower).status, 1);
}

} // namespace
} // namespace vantorel
