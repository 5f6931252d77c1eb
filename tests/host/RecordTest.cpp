// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/RunCommand.h"
#include "vantorel/base/Base64.h"
#include "vantorel/base/Text.h"
#include "vantorel/report/ReportReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace vantorel {
namespace {

using nlohmann::json;
using test::contentsOf;
using test::runCommand;
using test::TemporaryFolder;

const std::string tower = "sample:tower";
const std::string laptop = "sample:laptop";

/// What tells a sample machine from another: serial numbers and UUIDs in small letters.
std::set<std::string> originalsOf(const std::string& machine)
{
    std::set<std::string> originals;
    const std::string list = runCommand("list --json --machine " + machine).out;
    for (const char* const key : {"\"serial\":\"", "\"mediaUuid\":\"", "\"volumeUuid\":\""}) {
        for (std::size_t at = list.find(key); at != std::string::npos; at = list.find(key, at)) {
            at += std::string_view(key).size();
            originals.insert(base::lowercased(base::trimmed(list.substr(at, list.find('"', at) - at))));
        }
    }
    return originals;
}

std::string exchanged(std::string text)
{
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        std::swap(text[i], text[i + 1]);
    return text;
}

/// The originals that stand in a text, as they are or with the bytes of each word exchanged.
std::vector<std::string> found(const std::set<std::string>& originals, const std::string& text)
{
    std::vector<std::string> result;
    for (const std::string& place : {text, exchanged(text), exchanged(text.substr(1))}) {
        const std::string small = base::lowercased(place);
        for (const std::string& original : originals) {
            if (small.find(original) != std::string::npos)
                result.push_back(original);
        }
    }
    return result;
}

/// A recording, and behind it what stands in Base64 in it.
std::string laidOpen(const std::string& document)
{
    std::string everything = document;
    const std::string mark = "\"base64\": \"";
    for (std::size_t at = document.find(mark); at != std::string::npos; at = document.find(mark, at)) {
        at += mark.size();
        const Data bytes = base::fromBase64(document.substr(at, document.find('"', at) - at)).value();
        everything.append(bytes.begin(), bytes.end());
    }
    return everything;
}

TEST(RecordCommand, WhatItWritesIsTheMachine)
{
    const TemporaryFolder folder;
    for (const std::string& machine : {tower, laptop}) {
        const std::string file = folder.file("recorded");
        const auto made = runCommand("record --force " + file + " --machine " + machine);
        EXPECT_EQ(made.status, 0) << made.err;
        EXPECT_EQ(made.err, "");
        for (const std::string verb : {"list", "smart", "stats"})
            EXPECT_EQ(runCommand(verb + " --machine " + file).out, runCommand(verb + " --machine " + machine).out);
        EXPECT_EQ(runCommand("machine check " + file).status, 0);
    }
    EXPECT_EQ(runCommand("record " + folder.file("recorded") + " --machine " + laptop).status, 1);
}

TEST(RecordCommand, TellsWhatADriveDidNotAnswer)
{
    const TemporaryFolder folder;
    const auto machineWith = [&](const std::string& failures) {
        return folder.write("m.json", R"({"entries": [{"id": 1, "name": "d", "class": "IOAHCIBlockStorageDevice",
            "properties": {"SMART Capable": true}}, {"id": 2, "name": "r", "class": "IOBlockStorageDriver", "parents": [1]},
            {"id": 3, "name": "m", "class": "IOMedia", "parents": [2], "properties": {"BSD Name": "disk7", "Whole": true}}],
            "drives": [{"disk": "disk7", "ata": {"failures": )" +
                                          failures + "}}]}");
    };
    const std::tuple<std::string, int, std::string> cases[] = {
        {R"({"open": "kIOReturnNotPrivileged"})", 2, "vantorel: disk7: open failed: kIOReturnNotPrivileged\n"},
        {R"({"open": "kIOReturnNotReady"})", 0, ""},
        {R"({"data": "kIOReturnTimeout"})", 4, "vantorel: disk7: data failed: kIOReturnTimeout\n"},
        {"{}", 0, ""},
    };
    for (const auto& [failures, status, message] : cases) {
        const auto run = runCommand("record - --machine " + machineWith(failures));
        EXPECT_EQ(run.status, status);
        EXPECT_EQ(run.err, message);
    }
}

TEST(Redaction, LeavesNothingOfAMachineInARecordingOrAReport)
{
    const TemporaryFolder folder;
    for (const std::string& machine : {tower, laptop}) {
        const std::set<std::string> originals = originalsOf(machine);
        EXPECT_GE(originals.size(), 5U);
        const auto record = [&](const std::string& options) {
            return laidOpen(runCommand("record - " + options + " --machine " + machine).out);
        };
        EXPECT_GE(found(originals, record("")).size(), originals.size()) << "else the test could not see them";
        EXPECT_THAT(found(originals, record("--redact")), testing::IsEmpty());

        const auto report = [&](const std::string& options) {
            const std::string file = folder.file("report");
            runCommand("report --force -o " + file + " " + options + " --machine " + machine);
            const std::string bytes = contentsOf(file);
            const ReportReader reader(Data(bytes.begin(), bytes.end()));
            const Data listing = reader.expandedRegistry();
            return bytes + runCommand("show --json " + file).out + std::string(listing.begin(), listing.end());
        };
        EXPECT_GE(found(originals, report("")).size(), originals.size());
        EXPECT_THAT(found(originals, report("--redact")), testing::IsEmpty());
    }
}

TEST(Redaction, KeepsAMachineWhatItIs)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("recorded");
    const std::string report = folder.file("report");
    const int status = runCommand("smart --machine " + tower).status;
    EXPECT_EQ(runCommand("record --redact " + file + " --machine " + tower).status, 0);
    EXPECT_EQ(runCommand("list --machine " + file).out, runCommand("list --machine " + tower).out);
    EXPECT_EQ(runCommand("smart --machine " + file).status, status);
    EXPECT_EQ(runCommand("report --redact -o " + report + " --machine " + tower).status, status);
    const auto shown = runCommand("show " + report);
    EXPECT_EQ(shown.status, 0) << shown.err;
    EXPECT_THAT(shown.out, testing::HasSubstr("decoded otherwise than they were stored: 0\n"));

    // The pseudonyms of two recordings are the same, so that they can be compared.
    const std::string plain = folder.file("plain");
    const std::string again = folder.file("again");
    runCommand("record " + plain + " --machine " + tower);
    runCommand("report --redact -o " + again + " --machine " + plain);
    const auto compared = runCommand("diff " + report + " " + again);
    EXPECT_EQ(compared.status, 0) << compared.out;
    EXPECT_THAT(compared.out, testing::HasSubstr(": unchanged\n"));
}

} // namespace
} // namespace vantorel
