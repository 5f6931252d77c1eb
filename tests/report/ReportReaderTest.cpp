// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/report/ReportReader.h"
#include "report/Gzip.h"

#include "vantorel/system/KeyedArchiver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace vantorel {
namespace {

// `printf '<plist/>' | gzip -9n`
const Data registry = {0x1F, 0x8B, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x03, 0xB3, 0x29, 0xC8, 0xC9,
                       0x2C, 0x2E, 0xD1, 0xB7, 0x03, 0x00, 0x55, 0x79, 0x33, 0x49, 0x08, 0x00, 0x00, 0x00};

PropertyTable drive()
{
    return {
        {"vendor", nullptr},
        {"model", "INTEL SSDSA2MH080G1GC"},
        {"bsdName", "disk0"},
        {"interface", "ahci"},
        {"kind", "ssd"},
        {"protocol", "sata"},
        {"smartData", Data(512, 1)},
        {"thresholdsData", Data(512, 2)},
        {"processedSmart",
         PropertyTable{{"values", PropertyArray{PropertyTable{{"id", 194}}}}, {"Calculated Temperature", 37}}},
    };
}

PropertyTable report()
{
    const PropertyTable bare = {{"vendor", "SanDisk"},  {"model", nullptr},  {"bsdName", "disk1"},
                                {"interface", "usb 2"}, {"kind", "unknown"}, {"protocol", "usb"}};
    return {{"version", "1.2.3"}, {"drives", PropertyArray{drive(), bare}}, {"ioreg", registry}};
}

ReportReader open(const PropertyValue& root)
{
    return ReportReader(system::archivedDataWithRootObject(root));
}

/// The message that opening, and expanding the registry, ends with.
std::string failure(DataView bytes)
{
    try {
        (void)ReportReader(bytes).expandedRegistry();
        return "";
    } catch (const ReportError& error) {
        return error.what();
    }
}

std::string failureWith(const PropertyValue& root)
{
    return failure(system::archivedDataWithRootObject(root));
}

TEST(ReportReader, GivesBackWhatAReportHolds)
{
    const ReportReader reader = open(report());
    EXPECT_EQ(reader.version(), "1.2.3");
    EXPECT_EQ(reader.ioreg(), registry);
    EXPECT_THAT(reader.expandedRegistry(), testing::ElementsAreArray(std::string_view("<plist/>")));
    EXPECT_THAT(reader.unknownKeys(), testing::IsEmpty());

    ASSERT_EQ(reader.drives().size(), 2U);
    const ReportDrive& first = reader.drives()[0];
    EXPECT_EQ(first.vendor, std::nullopt);
    EXPECT_EQ(first.model, "INTEL SSDSA2MH080G1GC");
    EXPECT_EQ(first.bsdName, "disk0");
    EXPECT_EQ(first.interface, "ahci");
    EXPECT_EQ(first.kind, "ssd");
    EXPECT_EQ(first.protocol, "sata");
    EXPECT_EQ(first.smartData, Data(512, 1));
    EXPECT_EQ(first.thresholdsData, Data(512, 2));
    EXPECT_EQ(first.processedSmart->get<int>("Calculated Temperature"), 37);
    const ReportDrive& second = reader.drives()[1];
    EXPECT_EQ(second.vendor, "SanDisk");
    EXPECT_FALSE(second.smartData || second.thresholdsData || second.processedSmart);
}

TEST(ReportReader, OpensReportsOfOlderAndLaterVersions)
{
    const ReportReader old = open(PropertyTable{{"drives", PropertyArray{PropertyTable{{"model", "A"}}}}});
    EXPECT_EQ(old.version(), std::nullopt);
    EXPECT_EQ(old.drives().at(0).model, "A");
    EXPECT_FALSE(old.drives().at(0).interface);
    EXPECT_EQ(old.expandedRegistry(), Data());

    PropertyTable later = report();
    later["comment"] = "new";
    later["drives"].array()->at(1).table()->emplace("firmware", PropertyTable{});
    EXPECT_THAT(open(later).unknownKeys(), testing::ElementsAre("drives[1].firmware", "comment"));
    EXPECT_EQ(open(later).drives(), open(report()).drives());
}

TEST(ReportReader, GivesWhatStandsBesideTheDrives)
{
    PropertyTable root = report();
    root["created"] = "2026-01-31T23:59:59Z";
    root["host"] = PropertyTable{{"system", "Linux"}, {"kernel", "6.1"}, {"architecture", "arm64"}, {"name", "me"}};
    root["tool"] = PropertyTable{{"version", "1.2.3"}, {"table", "T 7"}, {"colour", 1}};
    root["volumes"] = PropertyArray{PropertyTable{{"disk", "disk1s1"},
                                                  {"kind", "apfs"},
                                                  {"name", "HD"},
                                                  {"uuid", "U"},
                                                  {"mountable", true},
                                                  {"mountPoints", PropertyArray{"/", 5, "/b"}},
                                                  {"size", std::uint64_t{1} << 63},
                                                  {"free", 2},
                                                  {"writable", false},
                                                  {"owner", "me"}},
                                    PropertyTable{}};
    root["readings"] =
        PropertyArray{PropertyTable{{"drive", 1}, {"identify", Data{1}}, {"errorLog", Data{2}}, {"failing", true}},
                      PropertyTable{{"drive", 2}, {"identify", Data{3}}}};
    root["errors"] = PropertyArray{PropertyTable{{"drive", 1}, {"opened", true}, {"asleep", true}, {"error", "one"}},
                                   PropertyTable{{"drive", 2}, {"error", "nobody's"}}, PropertyTable{{"error", "all"}}};
    const ReportReader reader = open(root);
    EXPECT_EQ(reader.origin(), (ReportOrigin{"2026-01-31T23:59:59Z", "Linux", "6.1", "arm64", "1.2.3", "T 7"}));
    EXPECT_THAT(reader.volumes(),
                testing::ElementsAre(
                    ReportVolume{"disk1s1", "apfs", "HD", "U", true, {"/", "/b"}, std::uint64_t{1} << 63, 2, false},
                    ReportVolume()));
    EXPECT_EQ(reader.drives()[1].identify, Data{1});
    EXPECT_EQ(reader.drives()[1].errorLog, Data{2});
    EXPECT_EQ(reader.drives()[1].failing, true);
    EXPECT_EQ(reader.drives()[1].failure, (ReportedFailure{true, true, "one"}));
    EXPECT_EQ(reader.listingFailure(), "all");
    EXPECT_THAT(reader.unknownKeys(), testing::ElementsAre("volumes[0].owner", "host.name", "tool.colour"));
    EXPECT_EQ(open(report()).origin(), ReportOrigin());
}

TEST(ReportReader, SaysWhichValueIsWrong)
{
    const auto changed = [](const char* key, const PropertyValue& value) {
        PropertyTable root = report();
        root[key] = value;
        return root;
    };
    const auto changedDrive = [](const char* key, const PropertyValue& value) {
        PropertyTable root = report();
        (*root["drives"].array()->at(0).table())[key] = value;
        return root;
    };
    Data damaged = registry;
    damaged[20] ^= 1; // in the checksum
    Data followed = registry;
    followed.insert(followed.end(), {0, 1});
    const std::pair<PropertyValue, std::string> cases[] = {
        {changed("version", 2), R"(the report's "version" is not a text)"},
        {changed("drives", PropertyTable{}), R"(the report's "drives" is not an array)"},
        {changed("drives", PropertyArray{"disk0"}), R"(the report's "drives[0]" is not a table)"},
        {changed("ioreg", "text"), R"(the report's "ioreg" is not data)"},
        {changedDrive("kind", true), R"(the report's "drives[0].kind" is not a text)"},
        {changedDrive("smartData", "text"), R"(the report's "drives[0].smartData" is not data)"},
        {changedDrive("processedSmart", PropertyArray{}), R"(the report's "drives[0].processedSmart" is not a table)"},
        {changed("created", 5), R"(the report's "created" is not a text)"},
        {changed("host", PropertyTable{{"kernel", 6}}), R"(the report's "host.kernel" is not a text)"},
        {changed("errors", PropertyArray{PropertyTable{{"drive", -1}}}),
         R"(the report's "errors[0].drive" is not a co)"},
        {changed("volumes", PropertyArray{PropertyTable{{"writable", 1}}}),
         R"("volumes[0].writable" is not a truth v)"},
        {changed("ioreg", Data{}), "gzip data cut short"},
        {changed("ioreg", Data(registry.begin(), registry.end() - 1)), "gzip data cut short"},
        {changed("ioreg", damaged), "damaged gzip data"},
        {changed("ioreg", followed), "something else behind them"},
        {PropertyTable{{"name", "a"}}, "no system report"},
        {PropertyArray{}, "no system report"},
    };
    for (const auto& [root, fault] : cases)
        EXPECT_THAT(failureWith(root), testing::HasSubstr(fault));
}

TEST(ReportReader, TakesANoteThatTellsLittle)
{
    PropertyTable root = report();
    root["errors"] = PropertyArray{PropertyTable{{"drive", 0}}, PropertyTable{{"opened", true}}};
    root["readings"] = PropertyArray{PropertyTable{{"failing", true}}, PropertyTable{{"drive", 0}, {"failing", false}}};
    const ReportReader reader = open(root);
    EXPECT_EQ(reader.drives()[0].failure, (ReportedFailure{false, false, ""}));
    EXPECT_EQ(reader.drives()[0].failing, false);
    EXPECT_FALSE(reader.drives()[1].failure || reader.drives()[1].failing) << "a note of no drive is of none";
    EXPECT_EQ(reader.listingFailure(), "");
}

TEST(Gzip, ExpandsWhatItMadeWithinItsLimit)
{
    using report::gunzip;
    using report::GzipError;
    for (const std::size_t size : std::vector<std::size_t>{0, 1, 65'535, 65'536, 65'537, 300'000}) {
        Data bytes(size);
        std::uint32_t next = 1;
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>((next = next * 1'664'525 + 1'013'904'223) >> 24U);
        const Data made = report::gzip(bytes);
        EXPECT_EQ(gunzip(made, size), bytes);
        if (size > 0) {
            EXPECT_THROW((void)gunzip(made, size - 1), GzipError) << size;
        }
    }
    struct Row {
        Data behind;
        bool isTaken;
    };
    const Data member = report::gzip(Data{7});
    for (const Row& row : {Row{{0}, true}, Row{{0, 0, 0}, true}, Row{{0, 1}, false}, Row{{0x1F}, false},
                           Row{{0x1F, 0x8C}, false}, Row{{0x1F, 0x8B}, false}}) {
        Data bytes = member;
        bytes.insert(bytes.end(), row.behind.begin(), row.behind.end());
        if (row.isTaken) {
            EXPECT_EQ(gunzip(bytes, 10), Data{7});
        } else {
            EXPECT_THROW((void)gunzip(bytes, 10), GzipError) << row.behind.size();
        }
    }
}

TEST(ReportReader, BoundsWhatTheRegistryExpandsTo)
{
    PropertyTable root = report();
    Data twice = registry;
    twice.insert(twice.end(), registry.begin(), registry.end());
    root["ioreg"] = twice;
    EXPECT_EQ(open(root).expandedRegistry(16).size(), 16U) << "members in a row";
    EXPECT_THROW((void)open(root).expandedRegistry(15), ReportError);
}

TEST(ReportReader, EndsOrderlyForAReportCutOrChangedAnywhere)
{
    const Data whole = system::archivedDataWithRootObject(report());
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_NE(failure(DataView(whole).first(size)), "") << "cut to " << size;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        Data changed = whole;
        changed[i] ^= 0xFF;
        EXPECT_NO_THROW((void)failure(changed)) << "byte " << i;
    }
}

} // namespace
} // namespace vantorel
