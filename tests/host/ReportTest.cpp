// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"
#include "support/TestData.h"
#include "system/propertylist/PropertyList.h"
#include "vantorel/report/ReportReader.h"
#include "vantorel/system/KeyedArchiver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include <sys/resource.h>

namespace vantorel {
namespace {

using nlohmann::json;
using test::contentsOf;
using test::runCommand;
using test::TemporaryFolder;
using testing::HasSubstr;
using testing::Not;

const std::string tower = std::string(VANTOREL_SAMPLES) + "/machines/tower";
const std::string laptop = std::string(VANTOREL_SAMPLES) + "/machines/laptop";

std::string text(const Data& bytes)
{
    return {bytes.begin(), bytes.end()};
}

std::string makeReport(const TemporaryFolder& folder, const std::string& machine, const std::string& name)
{
    const auto run = runCommand("report -o " + folder.file(name) + " --machine " + machine);
    EXPECT_EQ(run.status, runCommand("smart --machine " + machine).status) << run.err;
    EXPECT_EQ(run.err, "") << "no progress where nobody watches";
    return folder.file(name);
}

std::size_t filesIn(const std::string& path)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path), {}));
}

/// A report put together by hand.
std::string archive(const TemporaryFolder& folder, const std::string& name, const PropertyTable& root)
{
    return folder.write(name, text(system::archivedDataWithRootObject(root)));
}

PropertyTable driveMap(const std::string& bsdName, const std::string& model)
{
    return {{"vendor", "WD"},      {"model", model}, {"bsdName", bsdName},
            {"interface", "ahci"}, {"kind", "hdd"},  {"protocol", "sata"}};
}

PropertyTable wdDrive(const std::string& bsdName)
{
    PropertyTable drive = driveMap(bsdName, "WDC WD5000AAKS-00TMA0");
    drive["smartData"] = test::readTestData("ata/wd-aaks/data.bin");
    drive["thresholdsData"] = test::readTestData("ata/wd-aaks/thresholds.bin");
    return drive;
}

TEST(ReportCommand, AReportIsShownAndIsTheMachineThatItWasMadeOf)
{
    const TemporaryFolder folder;
    const std::string report = makeReport(folder, tower, "a.vantorel");
    const auto shown = runCommand("show " + report);
    EXPECT_EQ(shown.status, 0) << "a failing drive is no failure to show it";
    EXPECT_EQ(shown.err, "");
    EXPECT_THAT(shown.out, HasSubstr("disk0  INTEL SSDSA2MH080G1GC\n"));
    EXPECT_THAT(shown.out, HasSubstr("decoded otherwise than they were stored: 0\n"));
    EXPECT_THAT(shown.out, Not(HasSubstr("*")));
    EXPECT_THAT(shown.out, HasSubstr("disk6  Cruzer Glide\n"));
    EXPECT_THAT(shown.out, HasSubstr("It has no SMART data.\n"));

    const auto live = json::parse(runCommand("smart --json --machine " + tower).out);
    const auto reported = json::parse(runCommand("smart --json --machine " + report).out);
    EXPECT_EQ(reported["drives"], live["drives"]);
    EXPECT_EQ(runCommand("list --machine " + report).out, runCommand("list --machine " + tower).out)
        << "mount points and all";

    const auto document = json::parse(runCommand("show --json " + report).out);
    EXPECT_EQ(document["drives"].size(), 5U);
    const json& drive = document["drives"][1];
    EXPECT_EQ(drive["serial"], "     WD-WCAPW0TOWER1") << "untrimmed, as everywhere in JSON";
    EXPECT_EQ(drive["differences"], json::array());
    EXPECT_EQ(drive["stored"]["values"][0]["name"], drive["record"]["smartValues"][0]["name"]);
    const auto same = runCommand("diff " + report + " " + report);
    EXPECT_EQ(same.status, 0);
    EXPECT_THAT(same.out, HasSubstr("disk1  WDC WD5000AAKS-00TMA0, serial WD-WCAPW0TOWER1: at risk, unchanged\n"));
}

TEST(ReportCommand, TheControllerOfAReportedNvmeDriveAnswersAsItDid)
{
    const TemporaryFolder folder;
    const std::string report = makeReport(folder, laptop, "a.vantorel");
    const auto smart = [](const std::string& machine) {
        return json::parse(runCommand("smart --json --machine " + machine).out)["drives"][0]["record"];
    };
    const json live = smart(laptop);
    EXPECT_EQ(smart(report), live) << "power states too";
    EXPECT_EQ(runCommand("errors disk0 --machine " + report).out, runCommand("errors disk0 --machine " + laptop).out);

    // An older report has no identify data; then the listing tells who the drive is.
    const std::string bytes = contentsOf(report);
    PropertyValue root = system::unarchiveObjectWithData(Data(bytes.begin(), bytes.end()));
    root.table()->erase("readings");
    const json older = smart(archive(folder, "older", *root.table()));
    EXPECT_EQ(older["smartValues"], live["smartValues"]);
    EXPECT_EQ(older["deviceInfo"]["model"], live["deviceInfo"]["model"]);
    EXPECT_EQ(older["deviceInfo"]["serial"], live["deviceInfo"]["serial"]);
}

/// A machine.json with a whole disk for each of the drives' answers; no SMART where there are none.
std::string machineOf(const TemporaryFolder& folder, const std::vector<std::string>& answers)
{
    json machine = {{"registry", {{"IORegistryEntryName", "Root"}, {"IOObjectClass", "IORegistryEntry"}}}};
    json& devices = machine["registry"]["IORegistryEntryChildren"] = json::array();
    for (std::size_t i = 0; i < answers.size(); ++i) {
        const std::string name = "disk" + std::to_string(i);
        const json medium = {
            {"IORegistryEntryName", name}, {"IOObjectClass", "IOMedia"}, {"BSD Name", name}, {"Whole", true}};
        devices.push_back({{"IORegistryEntryName", "device"},
                           {"IOObjectClass", "IOAHCIBlockStorageDevice"},
                           {"SMART Capable", !answers[i].empty()},
                           {"IORegistryEntryChildren",
                            {{{"IORegistryEntryName", "driver"},
                              {"IOObjectClass", "IOBlockStorageDriver"},
                              {"IORegistryEntryChildren", {medium}}}}}});
        if (!answers[i].empty())
            machine["drives"].push_back({{"disk", name}, {"ata", json::parse(answers[i])}});
    }
    return folder.write("machine.json", machine.dump());
}

TEST(ReportCommand, TellsWhatCouldNotBeReadAndShowTellsItLater)
{
    const TemporaryFolder folder;
    const std::string machine = machineOf(folder, {R"({"failures": {"data": "kIOReturnTimeout"}})", "",
                                                   R"({"failures": {"open": "kIOReturnExclusiveAccess"}})"});
    const std::string report = folder.file("a.vantorel");
    const auto made = runCommand("report -o " + report + " --machine " + machine);
    const auto live = runCommand("smart --machine " + machine);
    EXPECT_EQ(made.status, 6);
    EXPECT_EQ(made.err, live.err);
    EXPECT_EQ(std::ranges::count(made.err, '\n'), 2);

    const auto shown = runCommand("show " + report);
    EXPECT_EQ(shown.status, 0) << "how drives were doing is no failure to show it";
    EXPECT_THAT(shown.out, HasSubstr("  Its SMART data could not be read: Unable to "));
    EXPECT_THAT(shown.out, HasSubstr("  It has no SMART data.\n"));
    const json drives = json::parse(runCommand("show --json " + report).out)["drives"];
    EXPECT_EQ(drives[0]["smart"], "unread");
    EXPECT_EQ(drives[0]["failure"]["opened"], true);
    EXPECT_EQ(drives[0]["status"], 4);
    EXPECT_EQ(drives[1]["smart"], "none");
    EXPECT_EQ(drives[1]["status"], 0);
    EXPECT_EQ(drives[2]["failure"]["opened"], false);
    EXPECT_EQ(drives[2]["status"], 2);
    EXPECT_EQ(runCommand("smart --machine " + report).status, 6) << "the drives of the report fail as they did";
    EXPECT_EQ(runCommand("show --extract " + folder.file("inner") + " " + report).status, 0);
    EXPECT_EQ(runCommand("smart --machine " + folder.file("inner")).status, 6);
    EXPECT_EQ(runCommand("machine check " + folder.file("inner")).status, 0);

    // Of an older report the listing alone tells which drives have SMART.
    const std::string bytes = contentsOf(report);
    PropertyValue root = system::unarchiveObjectWithData(Data(bytes.begin(), bytes.end()));
    root.table()->erase("errors");
    const json older = json::parse(runCommand("show --json " + archive(folder, "old", *root.table())).out)["drives"];
    EXPECT_EQ(older[0]["smart"], "unread");
    EXPECT_EQ(older[1]["smart"], "none");
    root.table()->erase("ioreg");
    const auto unlisted = runCommand("show --json " + archive(folder, "old", *root.table()));
    EXPECT_EQ(json::parse(unlisted.out)["drives"][1]["smart"], "unknown");
}

TEST(ReportCommand, IsKnownByWhatIsInItUnderAnyName)
{
    const TemporaryFolder folder;
    const std::string report = makeReport(folder, laptop, "a.vantorel");
    const std::string bytes = contentsOf(report);
    const std::string expected = runCommand("list --machine " + report).out;
    EXPECT_EQ(runCommand("list --machine " + folder.write("a.json", bytes)).out, expected);

    // In an archive of another hand the marks may stand anywhere, and the archive may be XML.
    std::string xml = system::writeXmlPropertyList(system::readPropertyList(Data(bytes.begin(), bytes.end())));
    xml.insert(xml.find("<plist"), "<!--" + std::string(5000, 'x') + "-->");
    const std::string moved = folder.write("a.xml", xml);
    EXPECT_EQ(runCommand("list --machine " + moved).out, expected);
    EXPECT_EQ(runCommand("show " + moved + " | tail -n +2").out, runCommand("show " + report + " | tail -n +2").out);
}

TEST(ReportCommand, ALocaleDoesNotChangeWhatWasDecoded)
{
    const TemporaryFolder folder;
    PropertyTable drive = driveMap("disk0", "NVMe One");
    drive["interface"] = "nvme";
    Data log = test::readTestData("nvme/smart.bin");
    const Data reads = {0x87, 0xD6, 0x12, 0, 0, 0, 0, 0}; // 1,234,567
    std::ranges::copy(reads, log.begin() + 64);
    drive["smartData"] = log;
    const std::pair<std::string, bool> cases[] = {
        {"1,234,567", true},
        {"1.234.567", true},
        {"1\u202F234\u202F567", true},
        {"1\u2019234\u2019567", true},
        {"\u0661\u066C\u0662\u0663\u0664\u066C\u0665\u0666\u0667", true},
        {"1,234,568", false},
        {"1,234,56", false},
        {"~1,234,567", false},
    };
    for (const auto& [stored, isSame] : cases) {
        drive["processedSmart"] = PropertyTable{
            {"values", PropertyArray{PropertyTable{{"name", "Host Read Commands"}, {"formattedValue", stored}}}}};
        const std::string report = archive(folder, "a", {{"drives", PropertyArray{drive}}});
        std::string fields;
        const json document = json::parse(runCommand("show --json " + report).out);
        for (const json& difference : document["drives"][0]["differences"])
            fields += difference.value("field", "") + " ";
        EXPECT_EQ(fields.find("formattedValue") == std::string::npos, isSame) << stored;
    }
    setenv("LC_ALL", "de_DE", 1);
    const std::string german = makeReport(folder, laptop, "german");
    setenv("LC_ALL", "C", 1);
    EXPECT_THAT(runCommand("show " + german).out, HasSubstr("decoded otherwise than they were stored: 0\n"));
}

TEST(ReportCommand, AFileThatMayNotGrowIsAFailureLikeAnyOther)
{
    const TemporaryFolder folder;
    const rlimit small{8192, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &small);
    const auto run = runCommand("report -o " + folder.file("a") + " --machine " + tower);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "vantorel: " + folder.file("a") + ": File too large\n");
    EXPECT_EQ(filesIn(folder.file("")), 0U);
}

TEST(ReportCommand, KeepsAFileThatIsThereAndLeavesNoneHalfWritten)
{
    const TemporaryFolder folder;
    const std::string file = folder.write("kept", "mine");
    const auto refused = runCommand("report -o " + file + " --machine " + tower);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "vantorel: " + file + ": exists already; --force replaces it\n");
    EXPECT_EQ(contentsOf(file), "mine");
    EXPECT_EQ(runCommand("report --force -o " + file + " --machine " + laptop).status & 1, 0);
    const auto drivesIn = [](const std::string& bytes) {
        return ReportReader(Data(bytes.begin(), bytes.end())).drives();
    };
    EXPECT_EQ(drivesIn(contentsOf(file)), drivesIn(runCommand("report -o - --machine " + laptop).out));

    EXPECT_EQ(runCommand("report -o " + folder.file("none/a") + " --machine " + tower).status, 1);
    EXPECT_EQ(runCommand("report -o " + folder.file("b") + " --machine " + folder.file("none")).status, 1);
    EXPECT_EQ(filesIn(folder.file("")), 1U);
}

TEST(ReportCommand, ADamagedReportIsOneLineAndStatusOne)
{
    const TemporaryFolder folder;
    const std::string whole = contentsOf(makeReport(folder, laptop, "a.vantorel"));
    const std::string output = folder.file("out");
    for (std::size_t part = 0; part < 16; ++part) {
        const std::string cut = folder.write("cut.vantorel", whole.substr(0, whole.size() * part / 16));
        for (const std::string& verb : {"show --extract " + output + " " + cut, "list --machine " + cut}) {
            const auto run = runCommand(verb);
            EXPECT_EQ(run.status, 1) << verb << ", " << part;
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(std::ranges::count(run.err, '\n'), 1) << run.err;
        }
    }
    EXPECT_FALSE(std::filesystem::exists(output));
    for (std::size_t i = 0; i < 24; ++i) {
        std::string flipped = whole;
        flipped[(whole.size() - 1) * i / 23] ^= '\x55';
        const std::string path = folder.write("flipped.vantorel", flipped);
        EXPECT_LT(runCommand("show --json " + path).status, 128) << i;
        EXPECT_LT(runCommand("smart --machine " + path).status, 128) << i;
    }
    for (const std::string& path : {folder.file("none.vantorel"), std::string("/"), tower + "/ioreg.plist"})
        EXPECT_EQ(runCommand("show " + path).status, 1) << path;
}

TEST(ReportCommand, OpensReportsOfOtherVersionsAndMarksWhatIsDecodedOtherwiseToday)
{
    const TemporaryFolder folder;
    PropertyTable drive = wdDrive("disk0");
    drive["processedSmart"] = PropertyTable{
        {"values", PropertyArray{PropertyTable{{"id", 5}, {"name", "Old \x1B[31mName"}, {"formattedValue", "1"}},
                                 PropertyTable{{"id", 250}, {"name", "Gone"}, {"state", "failedNow"}}, "nonsense"}}};
    drive["firmware"] = "later";
    PropertyTable broken = wdDrive("../../escape");
    broken["smartData"] = Data(100, 1);
    const std::string report = archive(folder, "a.vantorel", {{"drives", PropertyArray{drive, broken}}});

    const auto shown = runCommand("show " + report);
    EXPECT_EQ(shown.status, 4);
    EXPECT_THAT(shown.err, HasSubstr("vantorel: " + report + ": the report has no registry listing\n"));
    EXPECT_THAT(shown.err, HasSubstr("vantorel: ../../escape: Its raw SMART data are not whole.\n"));
    EXPECT_THAT(shown.out, HasSubstr("Made by      vantorel of an unknown version\n"));
    EXPECT_THAT(shown.out, HasSubstr("Unknown key  drives[0].firmware\n"));
    EXPECT_THAT(shown.out, HasSubstr("*!    5  Reallocated Sector Count (stored Old  [31mName)"));
    EXPECT_THAT(shown.out, HasSubstr("*!  250  Gone"));
    EXPECT_THAT(shown.out, HasSubstr("decoded otherwise than they were stored: 18\n"));

    const auto document = json::parse(runCommand("show --json " + report).out);
    EXPECT_EQ(document["version"], nullptr);
    const json& differences = document["drives"][0]["differences"];
    EXPECT_THAT(differences, testing::Contains(json{{"id", 5},
                                                    {"name", "Reallocated Sector Count"},
                                                    {"field", "formattedValue"},
                                                    {"stored", "1"},
                                                    {"decoded", "63"}}));
    EXPECT_EQ(differences.back(), (json{{"id", 250}, {"name", "Gone"}, {"only", "stored"}}));

    const std::string inner = folder.file("inner");
    EXPECT_EQ(runCommand("show --extract " + inner + " " + report).status, 4);
    EXPECT_EQ(contentsOf(inner + "/disk0-data.bin"), text(test::readTestData("ata/wd-aaks/data.bin")));
    EXPECT_EQ(contentsOf(inner + "/drive-2-data.bin"), std::string(100, 1)) << "no foreign text leads out";
    EXPECT_EQ(filesIn(inner), 4U);
    EXPECT_EQ(filesIn(folder.file("")), 2U);

    PropertyTable unjudged = wdDrive("disk1");
    unjudged.erase("thresholdsData");
    const std::string other = folder.file("other");
    const std::string older = archive(folder, "b", {{"drives", PropertyArray{unjudged}}});
    EXPECT_EQ(runCommand("show --extract " + other + " " + older).status, 4);
    EXPECT_TRUE(std::filesystem::exists(other + "/disk1-data.bin")) << "ATA, with or without thresholds";
}

TEST(ReportCommand, WhatIsExtractedIsARecordedMachine)
{
    const TemporaryFolder folder;
    const std::string report = makeReport(folder, tower, "a.vantorel");
    const std::string inner = folder.file("inner");
    EXPECT_EQ(runCommand("show --extract " + inner + " " + report).status, 0);
    EXPECT_EQ(runCommand("list --machine " + inner).out, runCommand("list --machine " + report).out);
    EXPECT_EQ(runCommand("smart --machine " + inner).out, runCommand("smart --machine " + report).out);

    std::filesystem::remove(inner + "/disk0-data.bin");
    const auto again = runCommand("show --extract " + inner + " " + report);
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.err, "vantorel: " + inner + "/ioreg.plist: exists already\n");
    EXPECT_FALSE(std::filesystem::exists(inner + "/disk0-data.bin"));
}

/// The drive with another raw value and another current value in the slot of an attribute, and the sum that fits.
PropertyTable altered(PropertyTable drive, std::uint8_t id, std::uint8_t raw, std::uint8_t current)
{
    Data sector = *drive.get<Data>("smartData");
    for (std::size_t slot = 2; slot < 362; slot += 12) {
        if (sector[slot] == id) {
            sector[slot + 3] = current;
            sector[slot + 5] = raw;
            sector[slot + 6] = 0;
        }
    }
    sector[511] = 0;
    sector[511] = static_cast<std::uint8_t>(-std::accumulate(sector.begin(), sector.end(), 0));
    drive["smartData"] = sector;
    return drive;
}

TEST(DiffCommand, TellsWhatGotWorseByItsExitStatus)
{
    PropertyTable nvme = driveMap("disk1", "NVMe One");
    nvme["interface"] = "nvme";
    Data log = test::readTestData("nvme/smart.bin");
    log[3] = 90; // available spare
    nvme["smartData"] = log;
    const auto nvmeWith = [&](std::size_t offset, std::uint8_t value) {
        PropertyTable drive = nvme;
        (*drive.find("smartData")).second = [&] {
            Data changed = log;
            changed[offset] = value;
            return changed;
        }();
        return drive;
    };
    const PropertyTable wd = wdDrive("disk0");
    PropertyTable unread = wd;
    unread.erase("smartData");
    struct Case {
        PropertyArray after;
        int status;
        std::vector<std::string> lines;
    };
    const PropertyArray before = {wd, nvme};
    const Case cases[] = {
        {{wd, nvme}, 0, {"disk0  WDC WD5000AAKS-00TMA0: at risk, unchanged\n", "disk1  NVMe One: good, unchanged\n"}},
        {{altered(wd, 9, 255, 80), nvme},
         0,
         {"on for 14737 hours more when OLD was made", "    9  Power_On_Hours  shrank  14992 hours  255 hours"}},
        {{altered(wd, 12, 57, 99), nvme},
         0,
         {"  12  Power_Cycle_Count  grew    56 (100, worst 100)  57 (99, worst 100)"}},
        {{altered(wd, 5, 64, 192), nvme}, 64, {"!   5  Reallocated_Sector_Ct  grew    63 sectors  64 sectors"}},
        {{altered(wd, 5, 63, 140), nvme},
         8,
         {"WD5000AAKS-00TMA0: at risk -> FAILING\n  - Reallocated_Sector_Ct: value 140 has reached its limit of 140",
          "crossed  63 sectors (192, worst 192) (at risk)  63 sectors (140, worst 192) (failing)"}},
        {{unread, nvme}, 4, {"S.M.A.R.T. data  vanished  readable"}},
        {{wd, nvmeWith(0, 4)},
         8,
         {"NVMe One: good -> FAILING\n  - ", "CriticalWarning  crossed  0x00 (good)  0x04 (failing)"}},
        {{wd, nvmeWith(3, 80)}, 0, {"AvailableSpare  shrank  90 %    80 %"}},
        {{wd, nvmeWith(5, 91)}, 32, {"good -> watch\n", "PercentageUsed  crossed  0 % (good)  91 % (watch)"}},
        {{wd, nvmeWith(160, 1)},
         16 | 64,
         {"good -> at risk\n", "MediaAndDataIntegrityErrors  crossed  0 (good)  1 (at risk)"}},
        {{nvme, wdDrive("disk9")},
         2 | 16,
         {"disk9  WDC WD5000AAKS-00TMA0: at risk, appeared\n  - 529 sectors wait",
          "disk0  WDC WD5000AAKS-00TMA0: vanished"}},
    };
    const TemporaryFolder folder;
    const std::string old = archive(folder, "old", {{"drives", before}});
    for (const Case& test : cases) {
        const std::string later = archive(folder, "new", {{"drives", test.after}});
        const auto run = runCommand("diff " + old + " " + later);
        EXPECT_EQ(run.status, test.status) << run.out;
        for (const std::string& line : test.lines)
            EXPECT_THAT(run.out, HasSubstr(line));
        const auto document = json::parse(runCommand("diff --json " + old + " " + later).out);
        EXPECT_EQ(document["status"], test.status);
    }
    // Backwards the crossing is a recovery.
    const std::string worse = archive(folder, "worse", {{"drives", PropertyArray{altered(wd, 5, 63, 140)}}});
    const auto better = runCommand("diff " + worse + " " + archive(folder, "new", {{"drives", PropertyArray{wd}}}));
    EXPECT_EQ(better.status, 0);
    EXPECT_THAT(better.out,
                HasSubstr("recovered  63 sectors (140, worst 192) (failing)  63 sectors (192, worst 192) (at risk)"));
}

/// A listing with one disk, as gzip data.
Data gzippedListing(const TemporaryFolder& folder, const std::string& bsdName, const std::string& serial)
{
    const PropertyTable medium = {{"IOObjectClass", "IOMedia"}, {"BSD Name", bsdName}, {"Whole", true}};
    const PropertyTable device = {{"IOObjectClass", "IOBlockStorageDevice"},
                                  {"Device Characteristics", PropertyTable{{"Serial Number", serial}}},
                                  {"IORegistryEntryChildren", PropertyArray{medium}}};
    const std::string path = folder.write("listing", system::writeXmlPropertyList(device));
    EXPECT_EQ(std::system(("gzip -kf '" + path + "'").c_str()), 0);
    const std::string bytes = contentsOf(path + ".gz");
    return {bytes.begin(), bytes.end()};
}

/// Microseconds that the commands run so far have computed.
std::int64_t computingTime()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_utime.tv_sec * 1'000'000 + usage.ru_utime.tv_usec;
}

TEST(DiffCommand, ComparesFiveTimesTheDrivesInFiveTimesTheTime)
{
    const TemporaryFolder folder;
    const auto timeOf = [&](int count) {
        const std::string longName(1000, 'n');
        PropertyArray drives;
        for (int i = 0; i < count; ++i)
            drives.emplace_back(driveMap(longName + std::to_string(i), longName));
        const std::string report = archive(folder, "a", {{"drives", drives}});
        std::ranges::reverse(drives);
        const std::string turned = archive(folder, "b", {{"drives", drives}});
        const std::int64_t before = computingTime();
        EXPECT_EQ(runCommand("diff --json " + report + " " + turned + " | wc -l").status, 0);
        return computingTime() - before;
    };
    const std::int64_t few = timeOf(2'000);
    EXPECT_LT(timeOf(10'000), 12 * few);
}

TEST(DiffCommand, JoinsDrivesByTheirSerialNumbersWhereBothAreKnown)
{
    const TemporaryFolder folder;
    const auto reportOf = [&](const std::string& name, const std::string& bsdName, const std::string& serial) {
        PropertyTable root = {{"drives", PropertyArray{wdDrive(bsdName)}}};
        if (!serial.empty())
            root["ioreg"] = gzippedListing(folder, bsdName, serial);
        return archive(folder, name, root);
    };
    const std::string old = reportOf("old", "disk0", "S1");
    EXPECT_EQ(runCommand("diff " + old + " " + reportOf("new", "disk4", " S1 ")).status, 0) << "it moved";
    EXPECT_EQ(runCommand("diff " + old + " " + reportOf("new", "disk0", "S2")).status, 2 | 16) << "it was replaced";
    PropertyTable other = wdDrive("disk0");
    other["model"] = "Another";
    const std::string sameNumber =
        archive(folder, "same", {{"drives", PropertyArray{other}}, {"ioreg", gzippedListing(folder, "disk0", "S1")}});
    EXPECT_THAT(runCommand("diff " + old + " " + sameNumber).out,
                testing::AllOf(HasSubstr("disk0  Another, serial S1: at risk, appeared\n"),
                               HasSubstr("disk0  WDC WD5000AAKS-00TMA0, serial S1: vanished\n")));
    const auto unknown = runCommand("diff " + old + " " + reportOf("new", "disk0", ""));
    EXPECT_EQ(unknown.status, 0);
    EXPECT_THAT(unknown.err, HasSubstr("drives are told apart by model and name\n"));
}

} // namespace
} // namespace vantorel
