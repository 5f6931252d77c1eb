// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/Redaction.h"

#include "machines/recorded/Sha256.h"
#include "vantorel/base/Base64.h"
#include "vantorel/base/Text.h"
#include "vantorel/machines/recorded/RecordingWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <numeric>
#include <string>
#include <vector>

using namespace vantorel;
using namespace vantorel::recorded;

namespace {

std::string exchanged(std::string text)
{
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        std::swap(text[i], text[i + 1]);
    return text;
}

Data bytes(std::string_view text)
{
    return {text.begin(), text.end()};
}

std::string text(DataView bytes)
{
    return {bytes.begin(), bytes.end()};
}

// The bytes of the UUID 8F14E45F-CEEA-467F-A8B1-0123456789AB, of the name 5 0014EE 0ABCDEF12 and of an address.
const Data uuidBytes = {0x8F, 0x14, 0xE4, 0x5F, 0xCE, 0xEA, 0x46, 0x7F, 0xA8, 0xB1, 0x01, 0x23, 0x45, 0x67, 0x89, 0xAB};
const Data guidBytes = {0x5F, 0xE4, 0x14, 0x8F, 0xEA, 0xCE, 0x7F, 0x46, 0xA8, 0xB1, 0x01, 0x23, 0x45, 0x67, 0x89, 0xAB};
const Data nameBytes = {0x50, 0x01, 0x4E, 0xE0, 0xAB, 0xCD, 0xEF, 0x12};
const Data addressBytes = {0xC8, 0x2A, 0x14, 0x57, 0xAA, 0xBB};
constexpr const char* partitionType = "48465300-0000-11AA-AA11-00306543ECAC";

/// Identify data of an ATA drive, the serial number at the right end of its field, with a checksum.
Data identifyData()
{
    std::string words(512, ' ');
    words.replace(20, 20, "     WD-WCAPW0TOWER1");
    words.replace(216, 8, text(nameBytes));
    Data identify = bytes(exchanged(words));
    identify[510] = 0xA5;
    identify[511] = static_cast<std::uint8_t>(0U - std::accumulate(identify.begin(), identify.end() - 1, 0U));
    return identify;
}

/// A machine that tells who it is wherever it can.
Recording telling()
{
    Recording recording;
    PropertyTable device = {
        {"SMART Capable", true},
        {"Device Characteristics", PropertyTable{{"Serial Number", "     WD-WCAPW0TOWER1"}}},
        {"World Wide Name", "naa.50014ee0abcdef12"},
        {"WWN", nameBytes},
        {"GUID", std::uint64_t{0x50014EE0ABCDEF12}},
        {"link", "/dev/disk/by-id/ata-WDC_WD5000_wd-wcapw0tower1-part1"},
        {"descriptor", bytes(std::string("W\0D\0-\0W\0C\0A\0P\0W\0000\0T\0O\0W\0E\0R\0001\0", 30))}};
    PropertyTable medium = {{"BSD Name", "disk0"},
                            {"Whole", true},
                            {"Content", partitionType},
                            {"UUID", "8F14E45F-CEEA-467F-A8B1-0123456789AB"},
                            {"path", "uuid=8f14e45f-ceea-467f-a8b1-0123456789ab;"},
                            {"partition", guidBytes},
                            {"Volume UUID", uuidBytes},
                            {"IOCFPlugInTypes", PropertyTable{{partitionType, "a/path/of/bob/and/bobsled"}}}};
    PropertyTable network = {{"IOMACAddress", addressBytes},
                             {"note", "from C8:2A:14:57:AA:BB"},
                             {"HostName", "Atlas.local"},
                             {"iSerialNumber", 3},
                             {"serial-number", bytes(std::string("C02XK\0\0\0", 8))},
                             {"creator", "pid 3, bob on atlas.local"}};
    recording.entries = {{1, "device", "", "IOBlockStorageDevice", {}, {}, device},
                         {2, "bob's disk", "", "IOMedia", {}, {1}, medium},
                         {3, "en0", "", "IOEthernetInterface", {}, {}, network}};
    recording.volumes = {{"disk0", {"hfs", "bob", base::Uuid{{9, 9, 9}}, true, {"/home/bob/mnt"}}, 0, 0, true}};
    RecordedDrive drive;
    drive.identify = identifyData();
    drive.data = Data(512, 7);
    drive.logs[6] = bytes("of 8f14e45fceea467fa8b10123456789ab");
    recording.drives.emplace(1, drive);
    RecordedDrive controller;
    controller.kind = RecordedDrive::Kind::nvme;
    controller.identify = Data(4096);
    const std::string serial = "NVME0SERIAL0000001  ";
    std::ranges::copy(serial, controller.identify->begin() + 4);
    const std::string name = "nqn.2014.08.org.nvmexpress:uuid:01020304-0506-0708-090a-0b0c0d0e0f10";
    std::ranges::copy(name, controller.identify->begin() + 768);
    recording.drives.emplace(2, controller);
    recording.script = {
        {1, RecordedStep::Arrival{{{9, "stick", "", "IOUSB", {}, {}, {{"USB Serial Number", "4C53000192"}}}}}},
        {2, RecordedStep::Change{9, {{"note", "4c53000192"}}}},
        {3, recording.volumes[0]}};
    return recording;
}

const std::vector<std::string> originals = {"WD-WCAPW0TOWER1",
                                            "50014EE0ABCDEF12",
                                            "8F14E45F-CEEA-467F-A8B1-0123456789AB",
                                            "8F14E45FCEEA467FA8B10123456789AB",
                                            "NVME0SERIAL0000001",
                                            "01020304-0506-0708-090A-0B0C0D0E0F10",
                                            "09090900-0000-0000-0000-000000000000",
                                            "C8:2A:14:57:AA:BB",
                                            "4C53000192",
                                            "C02XK",
                                            "ATLAS.LOCAL",
                                            text(uuidBytes),
                                            text(guidBytes),
                                            text(nameBytes),
                                            text(addressBytes)};

/// What of the originals stands in these bytes, as it is, with its words exchanged or as UTF-16.
std::vector<std::string> found(const std::string& everything)
{
    const std::string plain = base::lowercased(everything);
    const std::string odd = base::lowercased(exchanged(everything));
    const std::string even = base::lowercased(exchanged(everything.substr(1)));
    std::vector<std::string> result;
    for (const std::string& original : originals) {
        const std::string sought = base::lowercased(original);
        std::string wide;
        for (const char c : sought)
            wide += std::string{c, '\0'};
        wide.pop_back();
        for (const std::string& place : {plain, odd, even}) {
            if (place.find(sought) != std::string::npos || place.find(wide) != std::string::npos)
                result.push_back(original);
        }
    }
    return result;
}

/// The document, and behind it what stands in Base64 in it.
std::string laidOpen(const Recording& recording)
{
    const std::string json = writeMachineJson(recording);
    std::string everything = json;
    const std::string mark = "\"base64\": \"";
    for (std::size_t at = json.find(mark); at != std::string::npos; at = json.find(mark, at)) {
        at += mark.size();
        everything += " " + text(base::fromBase64(json.substr(at, json.find('"', at) - at)).value());
    }
    return everything;
}

Redaction redactionOf(const Recording& recording)
{
    Redaction redaction;
    redaction.note(recording);
    redaction.prepare();
    return redaction;
}

TEST(Redaction, LeavesNoOriginalInAnyForm)
{
    Recording recording = telling();
    const std::string before = laidOpen(recording);
    for (const std::string& original : originals)
        EXPECT_THAT(found(before), testing::Contains(original)) << "else the test could not see it";
    redactionOf(recording).redact(recording);
    const std::string after = laidOpen(recording);
    EXPECT_THAT(found(after), testing::IsEmpty());
    EXPECT_EQ(base::lowercased(after).find("bob "), std::string::npos);
    EXPECT_EQ(after.size(), before.size()) << "nothing moves";
}

TEST(Redaction, PutsThePseudonymWhereverTheOriginalStood)
{
    Recording recording = telling();
    redactionOf(recording).redact(recording);
    const PropertyTable& device = recording.entries[0].properties;
    const std::string serial =
        device.lookUp("Device Characteristics")->table()->get<std::string>("Serial Number").value();
    EXPECT_THAT(serial,
                testing::MatchesRegex("     [A-Z][A-Z]-[A-Z][A-Z][A-Z][A-Z][A-Z][0-9][A-Z][A-Z][A-Z][A-Z][A-Z][0-9]"));
    const Data identify = recording.drives.at(1).identify.value();
    EXPECT_EQ(exchanged(text(identify)).substr(20, 20), serial);
    EXPECT_EQ(std::accumulate(identify.begin(), identify.end(), 0U) % 256, 0U) << "the checksum is right again";
    EXPECT_EQ(device.get<std::string>("link"),
              "/dev/disk/by-id/ata-WDC_WD5000_" + base::lowercased(serial.substr(5)) + "-part1");

    const Data name = device.get<Data>("WWN").value();
    EXPECT_EQ(text(name).substr(0, 3), text(nameBytes).substr(0, 3)) << "the maker stays";
    EXPECT_EQ(name[3] >> 4U, nameBytes[3] >> 4U);
    EXPECT_NE(name[3] & 15U, nameBytes[3] & 15U);
    EXPECT_EQ(exchanged(text(identify)).substr(216, 8), text(name));
    std::uint64_t number = 0;
    for (const std::uint8_t byte : name)
        number = number << 8U | byte;
    EXPECT_EQ(device.get<std::uint64_t>("GUID"), number);

    const PropertyTable& medium = recording.entries[1].properties;
    EXPECT_EQ(medium.get<std::string>("Content"), partitionType) << "what kind it is, and not which one";
    const auto uuid = base::Uuid::parse(medium.get<std::string>("UUID").value()).value();
    EXPECT_EQ(medium.get<std::string>("path"), "uuid=" + base::lowercased(uuid.text()) + ";");
    const Data partition = medium.get<Data>("partition").value();
    EXPECT_EQ(partition[0], uuid.bytes[3]);
    EXPECT_EQ(partition[6], uuid.bytes[7]);
    EXPECT_EQ(partition[8], uuid.bytes[8]);

    // A user is a word: part of a longer one is something else.
    const std::string user = recording.volumes[0].facts.mountPoints.at(0).substr(6, 3);
    EXPECT_NE(user, "bob");
    EXPECT_EQ(medium.lookUp("IOCFPlugInTypes")->table()->get<std::string>(partitionType),
              "a/path/of/" + user + "/and/bobsled");
    EXPECT_EQ(base::lowercased(recording.entries[1].name), user + "'s disk");
    EXPECT_EQ(recording.entries[2].properties.get<int>("iSerialNumber"), 3) << "a number of a descriptor";
    EXPECT_EQ(recording.drives.at(1).data, Data(512, 7));

    Recording again = telling();
    redactionOf(again).redact(again);
    EXPECT_EQ(writeMachineJson(again), writeMachineJson(recording)) << "the same in every recording";
}

TEST(Redaction, TakesNamesOfUsersFromPathsAndFromItsHost)
{
    const auto redacted = [](const PropertyTable& noted, std::string_view text) {
        Redaction redaction;
        redaction.noteName("given");
        redaction.noteName("root");
        redaction.note(noted);
        redaction.prepare();
        return redaction.redacted(text);
    };
    for (const char* const path :
         {"/Users/eve/x", "/home/eve", "/run/media/eve/STICK", "/media/eve/STICK", "a /home/al:/home/eve b"})
        EXPECT_EQ(redacted({{"p", path}}, "eve").find("eve"), std::string::npos) << path;
    for (const char* const path : {"/media/eve", "/Users/Shared/x", "/homes/eve", "/Volumes/eve"})
        EXPECT_EQ(redacted({{"p", path}}, "eve Shared"), "eve Shared") << path;
    EXPECT_EQ(redacted({}, "root given2 un-given").find("root given2 un-"), 0U);
    EXPECT_EQ(redacted({}, "a Given b").find("Given"), std::string::npos);
    EXPECT_EQ(redacted({{"p", "/home/vm/x"}}, "VM"), "VM") << "a short name is taken as it is written";
}

TEST(Redaction, LeavesWhatTellsNothing)
{
    const PropertyTable blank = {{"Serial Number", "Unknown"},  {"serial", "000000"},         {"Serial", "AB"},
                                 {"wwn", "0x0000000000000000"}, {"MacAddress", Data(6, 255)}, {"GUID", 5}};
    Redaction redaction;
    redaction.note(blank);
    redaction.prepare();
    PropertyTable same = blank;
    redaction.redact(same);
    EXPECT_EQ(same, blank);
}

TEST(Redaction, TellsANameFromWhatIsTooShortOrTooPlain)
{
    struct Row {
        const char* key;
        PropertyValue value;
        std::string text; // where the value may stand
        std::size_t kept; // how many characters of the text stay, all of them where it names nothing
    };
    const Data uuid(uuidBytes);
    Data longer = uuid;
    longer.push_back(0x5A);
    const std::string uuidText = "8f14e45fceea467fa8b10123456789ab";
    const Row rows[] = {
        {"Serial", "K9X", "K9X", 3},
        {"Serial", "K9XW", "K9XW", 0},
        {"serial-number", "zzzz", "zzzz", 4},
        {"serial-number", "zzzy", "zzzy", 0},
        {"Serial", "NONE", "NONE", 4},
        {"Product", "K9XW", "K9XW", 4},
        {"WWN", "c0ffee12345", "c0ffee12345", 11},
        {"WWN", "c0ffee123456", "c0ffee123456", 6},
        {"wwid", "0x3002538d40a0b1c2", "3002538d40a0b1c2", 6},
        {"wwid", "eui.5002538d40a0b1c2", "5002538d40a0b1c2", 7},
        {"World Wide ID", "5002538d40a0b1c23", "5002538d40a0b1c23", 6},
        {"worldwide", "c0ffee-12:34-57", "C0:FF:EE:12:34:57", 9},
        {"EUI64", "c0ffee.123457", "c0ffee123457", 12},
        {"guid", "ffffffffffff", "ffffffffffff", 12},
        {"guid", "fffffffffff1", "fffffffffff1", 6},
        {"MacAddress", "000000000000", "000000000000", 12},
        {"MAC Address", "000000000070", "000000000070", 6},
        {"GUID", std::uint64_t{0xFFFFFFFF}, "00000000ffffffff", 16},
        {"GUID", std::uint64_t{0x100000000}, "0000000100000000", 6},
        {"GUID", uuid, uuidText, 0},
        {"GUID", longer, uuidText + "5a", 34},
        {"Volume UUID", uuid, uuidText, 0},
        {"Volume UUID", Data(uuid.begin() + 1, uuid.end()), uuidText, 32},
        {"Volume UUID", longer, uuidText, 32},
        {"anything", base::Uuid::parse("8F14E45F-CEEA-467F-A8B1-0123456789AB").value(), uuidText, 0},
        {"Content Hint", base::Uuid::parse("8F14E45F-CEEA-467F-A8B1-0123456789AB").value(), uuidText, 32},
        {"HostName", "q", "q", 1},
        {"Host Name", "qx", "qx", 0},
        {"ComputerName", "--", "--", 2},
        {"UserName", "-\xC3\xA4-x", "-\xC3\xA4-x", 4},
        {"UserName", "root", "root", 4},
        {"Name", "qx", "qx", 2},
    };
    for (const Row& row : rows) {
        Redaction redaction;
        redaction.note({{row.key, row.value}});
        redaction.prepare();
        const std::string after = redaction.redacted(row.text);
        std::size_t kept = 0;
        while (kept < after.size() && after[kept] == row.text[kept])
            ++kept;
        EXPECT_EQ(kept, row.kept) << row.key << ": " << row.text << " became " << after;
    }
}

TEST(Redaction, ReplacesANameAsAWholeWordOnly)
{
    Redaction redaction;
    redaction.noteName("bob");
    redaction.noteName("evan");
    redaction.prepare();
    const std::string partsOfWords = "09azAZ_\x80\xFF";
    const std::string separators = "/:@[`{^- \x7F\n";
    for (const char c : partsOfWords) {
        for (const std::string& text : {std::string("bob") + c, c + std::string("bob")})
            EXPECT_EQ(redaction.redacted(text), text);
    }
    for (const char c : separators) {
        for (const std::string& text : {std::string("bob") + c, c + std::string("bob")})
            EXPECT_EQ(redaction.redacted(text).find("bob"), std::string::npos) << text;
    }
    // A name of three letters in capitals may be a word of its own, one of four is a name.
    for (const char* const text : {"Bob", "boB", "BOB"})
        EXPECT_EQ(redaction.redacted(text), text);
    const std::string name = redaction.redacted("evan");
    EXPECT_EQ(redaction.redacted("Evan"), static_cast<char>(name[0] - 'a' + 'A') + name.substr(1));
}

TEST(Redaction, TakesTheTimeOfItsInput)
{
    // Serial numbers that agree for long, and a text that nearly holds them everywhere.
    Redaction redaction;
    for (int i = 0; i < 5'000; ++i)
        redaction.note({{"Serial Number", std::string(100, 'A') + std::to_string(i + 100'000)}});
    redaction.prepare();
    const std::clock_t begin = std::clock();
    const std::string text(30'000, 'A');
    EXPECT_EQ(redaction.redacted(text), text);
    EXPECT_LT(std::clock() - begin, 2 * CLOCKS_PER_SEC);
}

TEST(Sha256, GivesTheDigestsOfTheStandard)
{
    // FIPS 180-4 examples: one block, and two.
    const auto start = [](std::string_view text) {
        const auto digest = sha256(bytes(text));
        return std::vector<int>{digest[0], digest[1], digest[30], digest[31]};
    };
    EXPECT_THAT(start(""), testing::ElementsAre(0xE3, 0xB0, 0xB8, 0x55));
    EXPECT_THAT(start("abc"), testing::ElementsAre(0xBA, 0x78, 0x15, 0xAD));
    EXPECT_THAT(start("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
                testing::ElementsAre(0x24, 0x8D, 0x06, 0xC1));
}

} // namespace
