// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"
#include "vantorel/smart/records/RecordJson.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

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
    EXPECT_EQ(run.status, 8 | 16);
    for (const char* head :
         {"disk0  INTEL SSDSA2MH080G1GC\nVerdict     good\n", "\n\ndisk1  WDC WD5000AAKS-00TMA0\nVerdict     at risk\n",
          "\n\ndisk2  SAMSUNG HD501LJ\nVerdict     good\n", "\n\ndisk3  Maxtor 96147H8\nVerdict     FAILING\n"})
        EXPECT_THAT(run.out, HasSubstr(head));
    EXPECT_THAT(run.out, HasSubstr("disk6  Cruzer Glide\nIt has no SMART data.\n"));
    EXPECT_EQ(run.err, "") << "a stick that nobody asked for";
    const auto stick = runCommand("smart disk6" + tower);
    EXPECT_EQ(stick.status, 2);
    EXPECT_EQ(stick.err, "vantorel: disk6: It has no SMART data.\n");
    const auto unknown = runCommand("smart disk9 disk6 disk8" + tower);
    EXPECT_EQ(unknown.out, stick.out) << "of a name there is no more to show than its fault";
    EXPECT_THAT(unknown.err, testing::AllOf(HasSubstr("disk9: There is no"), HasSubstr("disk8: There is no")));
}

TEST(CheckCommand, TellsWhichDrivesNeedAHandAndWhy)
{
    const std::string expected = test::contentsOf(VANTOREL_TEST_DATA "/command/tower-check.txt");
    unsetenv("COLUMNS");
    for (const std::string verb : {"", "check", "smart --brief"}) {
        const auto run = runCommand(verb + tower);
        EXPECT_EQ(run.status, 8 | 16) << verb;
        EXPECT_EQ(run.out, expected) << verb;
        EXPECT_EQ(run.err, "") << verb;
    }
    const auto one = runCommand("check N80T0WER disk6 disk9" + tower);
    EXPECT_EQ(one.status, 1 | 2 | 8);
    EXPECT_THAT(one.out, HasSubstr("\n3 drives: 1 failing, 1 no drive, 1 without SMART\n"));
    EXPECT_THAT(one.err, testing::AllOf(HasSubstr("disk6: It has no SMART data.\n"), HasSubstr("disk9: There is no")));
    EXPECT_EQ(runCommand("check disk0 disk2" + tower).status, 0);
    const Json document = Json::parse(runCommand("check --json" + tower).out);
    EXPECT_EQ(document, Json::parse(runCommand("smart --json" + tower).out));
    const auto archive =
        Json::parse(R"([{"bsdName": "disk5", "volumeName": "Archive", "mountPoint": "/Volumes/Archive"}])");
    EXPECT_EQ(document["drives"][1]["volumes"], archive) << "on the set that a partition is a member of";
    EXPECT_FALSE(document["drives"][2].contains("volumes")) << "the other member is good";
}

TEST(CheckCommand, FitsTheScreen)
{
    for (const std::size_t width : {20U, 40U, 66U, 67U, 80U, 120U}) {
        setenv("COLUMNS", std::to_string(width).c_str(), 1);
        std::istringstream lines(runCommand("check" + tower).out);
        std::size_t widest = 0;
        for (std::string line; std::getline(lines, line);) {
            const auto taken = static_cast<std::size_t>(
                std::ranges::count_if(line, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
            widest = std::max(widest, taken);
        }
        EXPECT_LE(widest, width);
        EXPECT_GT(widest, width * 3 / 4);
    }
}

TEST(SmartCommand, FitsATerminal)
{
    const auto widestLine = [](const std::string& text) {
        std::istringstream lines(text);
        std::ptrdiff_t widest = 0;
        for (std::string line; std::getline(lines, line);)
            widest =
                std::max(widest, std::ranges::count_if(line, [](char c) { return c != '\r' && (c & 0xC0) != 0x80; }));
        return widest;
    };
    const std::string arguments = "smart disk1" + tower;
    const std::string piped = runCommand(arguments).out;
    EXPECT_GT(widestLine(piped.substr(piped.find("ID  "))), 80);
    EXPECT_THAT(piped, HasSubstr("Offline Uncorrectable Sector Count"));

    int terminal = -1;
    const winsize size{.ws_row = 24, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
    const pid_t command = forkpty(&terminal, nullptr, nullptr, &size);
    ASSERT_GE(command, 0);
    if (command == 0) {
        setenv("NO_COLOR", "1", 1);
        execl("/bin/sh", "sh", "-c", (VANTOREL_COMMAND " " + arguments).c_str(), nullptr);
        _exit(127);
    }
    std::string shown;
    char buffer[4096];
    for (ssize_t got = 0; (got = read(terminal, buffer, sizeof buffer)) > 0;) // ends with an error
        shown.append(buffer, static_cast<std::size_t>(got));
    waitpid(command, nullptr, 0);
    close(terminal);
    EXPECT_EQ(widestLine(shown), 80) << shown;
    EXPECT_THAT(shown, HasSubstr("Offline Uncorrectable…  0")) << "numbers and states stay";
    EXPECT_THAT(shown, HasSubstr("    9  Power On Hours          14992       80     80          0  oldAge   ok"));
}

TEST(SmartCommand, PrintsOneDocumentErrorsIncluded)
{
    const auto run = runCommand("smart disk0 N80T0WER disk9 --json" + tower);
    EXPECT_EQ(run.status, 1 | 8);
    const Json document = Json::parse(run.out);
    EXPECT_EQ(document["format"], 1);
    EXPECT_EQ(document["status"], 1 | 8);
    const Json& drives = document["drives"];
    ASSERT_EQ(drives.size(), 3U);
    EXPECT_EQ(drives[0]["status"], 0);
    EXPECT_EQ(drives[0]["size"], 80026361856);
    EXPECT_EQ(drives[0]["verdict"]["level"], "good");
    EXPECT_EQ(fromJson<ATASmartObject>(drives[0]["record"].dump()).deviceInfo.model, "INTEL SSDSA2MH080G1GC");
    EXPECT_EQ(drives[1]["name"], "disk3");
    EXPECT_EQ(drives[1]["status"], 8);
    EXPECT_EQ(drives[2],
              (Json{{"name", "disk9"}, {"status", 1}, {"state", "noDrive"}, {"error", "There is no such drive."}}));
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
    EXPECT_EQ(drives[0]["state"], "failed");
    EXPECT_EQ(drives[1]["status"], 16);
    EXPECT_TRUE(drives[1].contains("record"));
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
