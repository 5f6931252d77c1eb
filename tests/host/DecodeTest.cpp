// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"
#include "support/TestData.h"
#include "vantorel/base/Base64.h"
#include "vantorel/smart/records/RecordJson.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vantorel {
namespace {

using Json = nlohmann::ordered_json;
using test::runCommand;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string data = std::string(VANTOREL_TEST_DATA) + "/";

std::string decodeAta(const std::string& drive)
{
    return "decode ata " + data + "ata/" + drive + "/data.bin " + data + "ata/" + drive + "/thresholds.bin ";
}

TEST(DecodeCommand, PrintsVerdictTypedValuesAndTheRecordInOneDocument)
{
    const auto run = runCommand(decodeAta("wd-aaks") + "--model 'WDC WD5000AAKS-00TMA0' --json --raw");
    EXPECT_EQ(run.status, 16);
    EXPECT_EQ(run.err, "");
    const Json document = Json::parse(run.out);
    std::vector<std::string> keys;
    for (const auto& [key, value] : document.items())
        keys.push_back(key);
    EXPECT_THAT(keys, testing::ElementsAre("format", "status", "verdict", "knownAs", "attributes", "record", "raw"));
    EXPECT_EQ(document["format"], 1);
    EXPECT_EQ(document["status"], 16);
    EXPECT_EQ(document["verdict"]["level"], "atRisk");
    EXPECT_EQ(document["verdict"]["reasons"][0]["value"]["number"], 529);
    EXPECT_EQ(document["knownAs"]["table"], "built-in");
    EXPECT_EQ(document["knownAs"]["family"], "Western Digital Caviar Blue (SATA)");
    EXPECT_EQ(document["attributes"][1]["id"], 3);
    EXPECT_EQ(document["attributes"][1]["value"]["unit"], "milliseconds");
    const auto record = fromJson<ATASmartObject>(document["record"].dump());
    EXPECT_EQ(record.smartValues.size(), document["attributes"].size());
    EXPECT_EQ(record.rawThresholds, test::readTestData("ata/wd-aaks/thresholds.bin"));
    EXPECT_EQ(document["raw"], (Json{{"data", base::base64(test::readTestData("ata/wd-aaks/data.bin"))},
                                     {"thresholds", base::base64(*record.rawThresholds)}}));
}

TEST(DecodeCommand, LeadsWithTheVerdictAndMarksWhatItNames)
{
    const auto run = runCommand(decodeAta("wd-aaks") + "--model 'WDC WD5000AAKS-00TMA0'");
    EXPECT_THAT(run.out, StartsWith("WDC WD5000AAKS-00TMA0\nVerdict     at risk\n            - 529 sectors wait"));
    EXPECT_THAT(run.out, HasSubstr("\nFamily      Western Digital Caviar Blue (SATA) (table built-in, row 426)"));
    EXPECT_THAT(run.out, HasSubstr("\n!    5  Reallocated Sector Count"));
    EXPECT_THAT(run.out, HasSubstr("\n     9  Power On Hours"));
    EXPECT_THAT(run.out, Not(HasSubstr("\x1B")));

    // What the record calls failed and the verdict does not is told, with the reason why.
    const auto old = runCommand(decodeAta("wd-2500jb") + "--model 'WDC WD2500JB-00REA0'");
    EXPECT_THAT(old.out, HasSubstr("Set aside   - "));
    EXPECT_THAT(old.out, HasSubstr("failedInPast"));
    EXPECT_EQ(runCommand(decodeAta("intel-x25m") + "--ssd --model X").status, 0);
}

TEST(DecodeCommand, ATextOfTheUserCannotDriveTheTerminal)
{
    const auto run = runCommand(decodeAta("maxtor-60") + "--model \"$(printf 'A\\033[31mB\\302\\233C\\377')\"");
    EXPECT_THAT(run.out, StartsWith("A [31mB C\uFFFD\n"));
    const auto json = runCommand(decodeAta("maxtor-60") + "--json --model \"$(printf '\\377')\"");
    EXPECT_EQ(Json::parse(json.out)["record"]["deviceInfo"]["model"], "\uFFFD");
}

TEST(DecodeCommand, FillsTheIdentityFromControllerData)
{
    const auto run =
        runCommand("decode nvme " + data + "nvme/smart.bin --json --identify " + data + "nvme/identify.bin");
    EXPECT_EQ(run.status, 32) << "an emulated drive whose reserve is gone";
    const Json document = Json::parse(run.out);
    EXPECT_FALSE(document.contains("knownAs"));
    EXPECT_FALSE(document.contains("raw"));
    const auto info = fromJson<NVMeSmartObject>(document["record"].dump()).deviceInfo;
    EXPECT_EQ(info.model, "QEMU NVMe Ctrl");
    EXPECT_EQ(info.serial, "VTNVME0003");
    EXPECT_EQ(info.powerStates.at(0).maxPower, "25.0W");
    const Json saved = Json::parse(runCommand("decode nvme --json --raw " + data + "nvme/smart.bin").out);
    EXPECT_EQ(saved["record"]["deviceInfo"]["serial"], "Unkown");
    EXPECT_EQ(saved["record"]["rawData"], "");
    EXPECT_EQ(saved["raw"], (Json{{"data", base::base64(test::readTestData("nvme/smart.bin"))}}));
}

TEST(DecodeCommand, ACriticalWarningIsTheExitStatus)
{
    const test::TemporaryFolder folder;
    const std::string log = folder.write("log", std::string(1, '\x04') + std::string(511, '\0'));
    const auto run = runCommand("decode nvme " + log);
    EXPECT_EQ(run.status, 8);
    EXPECT_THAT(run.out, HasSubstr("\nVerdict     FAILING\n"));
}

TEST(DecodeCommand, WrongUseIsOneLineAndStatusOne)
{
    const test::TemporaryFolder folder;
    const std::string sector = data + "ata/maxtor-60/data.bin";
    const std::string empty = folder.write("empty", "");
    const std::string shortFile = folder.write("short", std::string(511, 'x'));
    const std::string large = folder.write("large", std::string((1 << 20) + 1, 'x'));
    const std::pair<std::string, std::string> cases[] = {
        {"decode", "A subcommand is required"},
        {"db", "A subcommand is required"},
        {"history", "A subcommand is required"},
        {"machine", "A subcommand is required"},
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
    EXPECT_EQ(missing.out, "{\"format\":1,\"error\":\"" + folder.file("none") + ": No such file or directory\"}\n");
    EXPECT_EQ(missing.err, "vantorel: " + folder.file("none") + ": No such file or directory\n");
    EXPECT_EQ(runCommand("decode nvme --json").out, "{\"format\":1,\"error\":\"arguments: LOG is required\"}\n");
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
