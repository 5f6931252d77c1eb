// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"
#include "support/TestData.h"
#include "vantorel/base/Base64.h"
#include "vantorel/system/KeyedArchiver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

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

std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

std::string escaped(std::string text)
{
    const std::pair<const char*, const char*> references[] = {
        {"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"'", "&#39;"}};
    for (const auto& [character, reference] : references) {
        for (std::size_t at = text.find(character); at != std::string::npos; at = text.find(character, at + 1))
            text.replace(at, 1, reference);
    }
    return text;
}

/// The page of a machine, which `check` ends as ever on.
std::string pageOf(const std::string& machine)
{
    const auto run = runCommand("check --html --machine " + machine);
    EXPECT_EQ(run.status, runCommand("check --machine " + machine).status) << run.err;
    EXPECT_EQ(run.err, "");
    return run.out;
}

void expectNothingFromElsewhere(const std::string& page)
{
    EXPECT_THAT(page, HasSubstr("content=\"default-src &#39;none&#39;; style-src &#39;sha256-"));
    for (const char* const way : {"<script", "://", "src=", "url(", "@import", " style=", " on", "javascript:"}) {
        if (std::string_view(way) == " on") // as the start of an attribute such as onload
            EXPECT_THAT(page, Not(testing::ContainsRegex("<[a-z]+[^>]* on[a-z]+="))) << way;
        else
            EXPECT_EQ(countOf(page, way), 0U) << way;
    }
    EXPECT_EQ(countOf(page, "href="), countOf(page, "href=\"#") + countOf(page, "href=\"data:"));
}

TEST(Page, TellsEverythingOfEveryDriveAndNeedsNothingFromElsewhere)
{
    for (const std::string& machine : {tower, laptop}) {
        const std::string page = pageOf(machine);
        expectNothingFromElsewhere(page);
        const json document = json::parse(runCommand("check --json --machine " + machine).out);
        for (const json& drive : document["drives"]) {
            EXPECT_THAT(page, HasSubstr("<span class=\"disk\">" + drive["name"].get<std::string>() + "</span>"));
            if (!drive.contains("verdict"))
                continue;
            for (const char* const list : {"reasons", "setAside", "notes"}) {
                for (const json& reason : drive["verdict"][list])
                    EXPECT_THAT(page, HasSubstr(escaped(reason["sentence"])));
            }
            for (const json& value : drive["record"]["smartValues"]) {
                EXPECT_THAT(page, HasSubstr(escaped(value["name"])));
                EXPECT_THAT(page, HasSubstr("<td class=\"number\">" + escaped(value["formattedValue"]) + "</td>"));
                EXPECT_THAT(page, HasSubstr(escaped(value["info"])));
            }
        }
    }
}

TEST(Page, PutsTheDrivesThatNeedAHandFirstAndCountsThem)
{
    const std::string page = pageOf(tower);
    std::size_t last = 0;
    for (const char* const name : {"disk3", "disk1", "disk0", "disk2", "disk6"}) {
        const std::size_t place = page.find(std::string("<span class=\"disk\">") + name);
        EXPECT_GT(place, last) << name;
        last = place;
    }
    EXPECT_THAT(page, HasSubstr("<li class=\"good\"><strong>2</strong>"));
    EXPECT_THAT(page, HasSubstr(">Macintosh HD</td><td>/</td><td class=\"number\">21.47 GB</td>"));
    EXPECT_THAT(page, HasSubstr("aria-label=\"Other disks\"")) << "a RAID set lies on no single drive";
    EXPECT_EQ(countOf(page, "<h3>Counters</h3>"), 5U);
    EXPECT_EQ(countOf(page, "<h3>Power states</h3>"), 0U);
    const std::string nvme = pageOf(laptop);
    EXPECT_THAT(nvme, HasSubstr("<h3>Power states</h3>"));
    EXPECT_THAT(nvme, HasSubstr("<h3>Error log</h3>"));
}

/// The bytes of a dump as `xxd -a` writes it; a star stands for lines of zeros.
Data readDump(const std::string& text)
{
    Data bytes;
    for (std::size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
        if (text[begin] == '*')
            continue;
        EXPECT_NE(text[begin + 10], ' ') << "a line of nothing";
        bytes.resize(std::stoul(text.substr(begin, 8), nullptr, 16));
        for (std::size_t at = begin + 10; at + 1 < begin + 49; at += text[at] == ' ' ? 1 : 2) {
            if (text[at] != ' ')
                bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
        }
    }
    return bytes;
}

TEST(Page, HoldsTheBytesThatItWasMadeOf)
{
    for (const std::string& machine : {tower, laptop}) {
        const std::string page = pageOf(machine);
        EXPECT_THAT(page, HasSubstr("\n*\n")) << "zeros take little room";
        std::vector<std::string> dumps;
        for (std::size_t at = page.find("<pre "); at != std::string::npos; at = page.find("<pre ", at)) {
            const std::size_t begin = page.find('>', at) + 1;
            at = page.find("</pre>", begin);
            dumps.push_back(base::base64(readDump(page.substr(begin, at - begin))));
        }
        std::size_t expected = 0;
        const json document = json::parse(runCommand("check --json --raw --machine " + machine).out);
        for (const json& drive : document["drives"]) {
            if (!drive.contains("raw"))
                continue;
            for (const auto& [name, bytes] : drive["raw"].items()) {
                EXPECT_THAT(dumps, testing::Contains(bytes.get<std::string>())) << drive["name"] << ' ' << name;
                ++expected;
            }
        }
        EXPECT_EQ(dumps.size(), expected);
        EXPECT_GT(expected, 1U);
    }
}

/// A report put together by hand.
std::string reportOf(const TemporaryFolder& folder, const std::string& name, const char* created, PropertyArray drives)
{
    PropertyTable root = {{"version", "1"}, {"drives", std::move(drives)}};
    if (created)
        root["created"] = created;
    const Data bytes = system::archivedDataWithRootObject(root);
    return folder.write(name, {bytes.begin(), bytes.end()});
}

/// A disk of the test data, with so many replaced sectors and powered hours.
PropertyTable disk(const std::string& name, const std::string& model, std::uint8_t replaced, std::uint8_t hours)
{
    Data data = test::readTestData("ata/wd-aaks/data.bin");
    for (std::size_t slot = 2; slot + 12 <= 362; slot += 12) {
        if (data[slot] == 5)
            data[slot + 5] = replaced;
        if (data[slot] == 9)
            data[slot + 5] = hours;
    }
    data.back() = 0;
    for (std::size_t i = 0; i + 1 < data.size(); ++i)
        data.back() = static_cast<std::uint8_t>(data.back() - data[i]);
    return {{"vendor", "WD"},    {"model", model},
            {"bsdName", name},   {"interface", "ahci"},
            {"kind", "hdd"},     {"protocol", "sata"},
            {"smartData", data}, {"thresholdsData", test::readTestData("ata/wd-aaks/thresholds.bin")}};
}

const std::string model = "WDC WD5000AAKS-00TMA0";

TEST(Page, ATextOfADriveStaysAText)
{
    const std::string hostile = "<script>alert(1)</script>\" onload='x' &amp; \x01\xFF\xE2\x80\xAE\xEF\xBF\xBF";
    const TemporaryFolder folder;
    PropertyTable drive = disk("disk0", hostile, 63, 1);
    drive["vendor"] = hostile;
    drive["protocol"] = hostile;
    const auto run = runCommand("show --html " + reportOf(folder, "a", hostile.c_str(), {drive, drive}));
    expectNothingFromElsewhere(run.out);
    const std::string shown = "&lt;script&gt;alert(1)&lt;/script&gt;&quot; onload=&#39;x&#39; &amp;amp;  \uFFFD \uFFFD";
    EXPECT_EQ(countOf(run.out, shown), 9U) << "of each the model twice, vendor and protocol; and the time";
    EXPECT_THAT(run.err, HasSubstr("no registry listing"));
    EXPECT_EQ(run.status, 4);
}

TEST(Page, DrawsWhatChangedFromReportToReport)
{
    const TemporaryFolder folder;
    const std::string older = reportOf(folder, "old", "2026-01-31T23:59:59Z",
                                       {disk("disk0", model, 12, 40), disk("disk1", "Gone <1>", 0, 7)});
    const std::string between = reportOf(folder, "between", "2026-02-10T00:00:00Z", {disk("disk0", model, 12, 90)});
    const std::string newer =
        reportOf(folder, "new", "2026-03-01T06:00:00Z", {disk("disk0", model, 63, 240), disk("disk2", "Fresh", 0, 3)});
    const std::string page = runCommand("show --html " + newer + ' ' + older + ' ' + between).out;
    EXPECT_EQ(countOf(page, "class=\"chart\""), 2U) << "what stayed is no chart, and one drive has no past";
    EXPECT_THAT(page, HasSubstr(": from 12 on 2026-01-31 to 63 on 2026-03-01</title>"));
    EXPECT_THAT(page, HasSubstr("<title>2026-02-10: 12</title>"));
    EXPECT_THAT(page, HasSubstr(">12 → 63 sectors</span>"));
    EXPECT_THAT(page, HasSubstr("In earlier reports, and not in the last: disk1 (Gone &lt;1&gt;)."));
    EXPECT_THAT(page, HasSubstr("<dd>2 earlier, from 2026-01-31 23:59:59 UTC on</dd>"));

    const std::string backwards = reportOf(folder, "back", "2026-04-01T00:00:00Z", {disk("disk0", model, 63, 30)});
    EXPECT_THAT(runCommand("show --html " + newer + ' ' + backwards).out,
                HasSubstr("It had been on for 210 hours more at the first of these reports than at the last"));
}

TEST(Page, LeavesOutWhatIsOfAnotherMachineOrTellsNoTime)
{
    const TemporaryFolder folder;
    const std::string mine = reportOf(folder, "mine", "2026-03-01T06:00:00Z", {disk("disk0", model, 63, 240)});
    const std::string other = reportOf(folder, "other", "2026-01-01T00:00:00Z", {disk("disk0", "SAMSUNG", 1, 2)});
    const std::string timeless = reportOf(folder, "timeless", nullptr, {disk("disk0", model, 1, 2)});
    const auto run = runCommand("show --html " + timeless + ' ' + mine + ' ' + other);
    EXPECT_EQ(run.status & 1, 1);
    for (const std::string& told :
         {other + " is of another machine than " + mine, timeless + " does not tell when it was made"}) {
        EXPECT_THAT(run.out, HasSubstr(told));
    }
    EXPECT_THAT(run.err, HasSubstr("vantorel: " + other + ": is of another machine"));
    EXPECT_EQ(countOf(run.out, "class=\"chart\""), 0U);
    EXPECT_EQ(runCommand("show --html " + timeless).status, 4) << "one alone needs no time";
    EXPECT_EQ(runCommand("show --html " + timeless + ' ' + timeless).out, "");
}

TEST(Page, IsWrittenWholeOrNotAtAll)
{
    const TemporaryFolder folder;
    const std::string file = folder.write("page.html", "what was there before");
    const auto run = runCommand("check --html -o " + file + " --machine " + laptop);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(contentsOf(file), testing::EndsWith("</html>\n"));
    struct Case {
        std::string arguments;
        const char* why;
    };
    const Case wrong[] = {
        {"check --html --json --machine " + laptop, "--json excludes --html"},
        {"check -o " + file, "requires --html"},
        {"show a b", "several reports are shown as one page"},
        {"show --html --extract x a", "excludes"},
        {"check --html -o " + folder.file("gone/page.html") + " --machine " + laptop, "No such file or directory"},
        {"show --html " + folder.file("none"), "No such file"},
    };
    for (const auto& [arguments, why] : wrong) {
        const auto refused = runCommand(arguments);
        EXPECT_EQ(refused.status, 1) << arguments;
        EXPECT_THAT(refused.err, HasSubstr(why)) << arguments;
        EXPECT_THAT(refused.out, Not(HasSubstr("<html"))) << arguments;
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.file("")), {}), 1) << "nothing half done";
    EXPECT_EQ(runCommand("check --html --machine " + laptop, ">/dev/full").status, 1);
}

} // namespace
} // namespace vantorel
