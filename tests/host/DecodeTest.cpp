// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"
#include "support/TestData.h"
#include "vantorel/smart/records/RecordJson.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantorel {
namespace {

using test::runCommand;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string data = std::string(VANTOREL_TEST_DATA) + "/";

std::string decodeAta(const std::string& drive)
{
    return "decode ata " + data + "ata/" + drive + "/data.bin " + data + "ata/" + drive + "/thresholds.bin ";
}

TEST(DecodeCommand, PrintsTheResultsOwnJsonAndNothingElse)
{
    const auto run = runCommand(decodeAta("intel-x25m") + "--model 'INTEL SSDSA2MH080G1GC' --ssd --json");
    EXPECT_EQ(run.status, 32) << "old-age attributes at their thresholds";
    EXPECT_EQ(run.err, "");
    const auto result = fromJson<ATASmartObject>(run.out);
    EXPECT_EQ(result.smartValues.size(), 12U);
    EXPECT_EQ(result.health, 99U);
    EXPECT_EQ(result.rawThresholds, test::readTestData("ata/intel-x25m/thresholds.bin"));
}

TEST(DecodeCommand, ShowsFailingLinesMarkedAndWithoutColourInAPipe)
{
    const auto run = runCommand(decodeAta("wd-2500jb") + "--model 'WDC WD2500JB-00REA0'");
    EXPECT_EQ(run.status, 32);
    EXPECT_THAT(run.out, StartsWith("WDC WD2500JB-00REA0\nFamily      Western Digital Caviar SE\nHealth      93 %\n"));
    EXPECT_THAT(run.out, HasSubstr("\n!    3  Spin Up Time"));
    EXPECT_THAT(run.out, Not(HasSubstr("\x1B")));
    EXPECT_EQ(runCommand(decodeAta("maxtor-60") + "--model X").status, 0);
}

TEST(DecodeCommand, ATextOfTheUserCannotDriveTheTerminal)
{
    const auto run = runCommand(decodeAta("maxtor-60") + "--model \"$(printf 'A\\033[31mB\\302\\233C\\377')\"");
    EXPECT_THAT(run.out, StartsWith("A [31mB C\uFFFD\n"));
    EXPECT_EQ(runCommand(decodeAta("maxtor-60") + "--json --model \"$(printf '\\377')\"").status, 0);
}

TEST(DecodeCommand, FillsTheIdentityFromControllerData)
{
    const auto run =
        runCommand("decode nvme " + data + "nvme/smart.bin --json --identify " + data + "nvme/identify.bin");
    EXPECT_EQ(run.status, 0);
    const auto info = fromJson<NVMeSmartObject>(run.out).deviceInfo;
    EXPECT_EQ(info.model, "QEMU NVMe Ctrl");
    EXPECT_EQ(info.serial, "VTNVME0003");
    EXPECT_EQ(info.powerStates.at(0).maxPower, "25.0W");
    EXPECT_EQ(
        fromJson<NVMeSmartObject>(runCommand("decode nvme --json " + data + "nvme/smart.bin").out).deviceInfo.serial,
        "Unkown");
}

TEST(DecodeCommand, ACriticalWarningIsTheExitStatus)
{
    const test::TemporaryFolder folder;
    const std::string log = folder.write("log", std::string(1, '\x04') + std::string(511, '\0'));
    const auto run = runCommand("decode nvme " + log);
    EXPECT_EQ(run.status, 8);
    EXPECT_THAT(run.out, HasSubstr("Status      failed\nAssessment  The NVM subsystem reliability has degraded"));
}

TEST(DecodeCommand, WrongUseIsOneLineAndStatusOne)
{
    const test::TemporaryFolder folder;
    const std::string sector = data + "ata/maxtor-60/data.bin";
    const std::string empty = folder.write("empty", "");
    const std::string shortFile = folder.write("short", std::string(511, 'x'));
    const std::string large = folder.write("large", std::string((1 << 20) + 1, 'x'));
    const std::pair<std::string, std::string> cases[] = {
        {"", "A subcommand is required"},
        {"decode", "A subcommand is required"},
        {"frobnicate", "what is \"frobnicate\"?"},
        {"db show X Y Z", "Z"},
        {"db lint --jsn", "--jsn"},
        {"decode ata " + sector, "THRESHOLDS is required"},
        {"decode ata " + sector + " " + sector, "--model is required"},
        {"decode ata --model X " + folder.file("none") + " " + sector,
         folder.file("none") + ": No such file or directory"},
        {"decode ata --model X " + sector + " " + empty, empty + ": holds 0 bytes, at least 512 are needed"},
        {"decode ata --model X " + shortFile + " " + sector, shortFile + ": holds 511 bytes"},
        {"decode ata --model X / " + sector, "/: Is a directory"},
        {"decode ata --model X " + large + " " + sector, large + ": is larger than 1048576 bytes"},
        {"decode nvme " + sector + " --identify " + sector, sector + ": holds 512 bytes, at least 4096 are needed"},
    };
    for (const auto& [arguments, message] : cases) {
        const auto run = runCommand(arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        EXPECT_EQ(run.out, "") << arguments;
        EXPECT_THAT(run.err, StartsWith("vantorel: "));
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_EQ(std::ranges::count(run.err, '\n'), 1) << run.err;
    }
}

TEST(DecodeCommand, WithJsonAFailureIsADocumentToo)
{
    const test::TemporaryFolder folder;
    const auto missing = runCommand("decode nvme --json " + folder.file("none"));
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.out, "{\"error\":\"" + folder.file("none") + ": No such file or directory\"}\n");
    EXPECT_EQ(missing.err, "vantorel: " + folder.file("none") + ": No such file or directory\n");
    EXPECT_EQ(runCommand("decode nvme --json").out, "{\"error\":\"arguments: LOG is required\"}\n");
}

TEST(DecodeCommand, AnOutputThatTakesNothingIsAnError)
{
    const auto full = runCommand(decodeAta("maxtor-60") + "--model X", ">/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.err, "vantorel: standard output: No space left on device\n");
}

TEST(DecodeCommand, AClosedPipeEndsItQuietly)
{
    const auto run = runCommand("db search '' 2>&1 | true", ";");
    EXPECT_EQ(run.err, "");
}

} // namespace
} // namespace vantorel
