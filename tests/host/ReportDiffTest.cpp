// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/files/ReportDiff.h"
#include "health/Readings.h"
#include "host/files/StoredValues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::host {
namespace {

using health::Level;
using test::Slot;
using testing::ElementsAre;

ReportedDrive drive(const std::string& name, const std::string& model, const std::string& serial)
{
    ReportedDrive drive;
    drive.name = name;
    if (!model.empty())
        drive.stored.model = model;
    drive.identity.serial = serial;
    return drive;
}

ReportFile reportOf(std::vector<ReportedDrive> drives)
{
    ReportFile report;
    report.drives = std::move(drives);
    return report;
}

ReportedDrive judged(std::vector<Slot> slots)
{
    const test::AtaDrive sectors(std::move(slots));
    ReportedDrive one = drive("disk0", "ACME Disk", "S1");
    one.judged = health::judgeSavedAta(sectors.data, sectors.thresholds, "ACME Disk", false);
    return one;
}

std::string textOf(const ValueChange& change)
{
    return std::string(rawValue(change.kind)) + ' ' + change.id + ' ' + change.name + ": " + change.before + " > " +
           change.after + ", " + std::to_string(change.status);
}

TEST(ReportDiff, TellsWhatEachValueDid)
{
    struct Row {
        std::vector<Slot> before;
        std::vector<Slot> after;
        std::vector<std::string> changes;
        int status;
    };
    const Row rows[] = {
        {{}, {}, {}, 0},
        {{{9, 8765}}, {{9, 8790}}, {"grew 9 Power_On_Hours: 8765 hours > 8790 hours, 0"}, 0},
        {{{194, 31}}, {{194, 29}}, {"shrank 194 Temperature_Celsius: 31 °C > 29 °C, 0"}, 0},
        {{{3, 7, 100, 99}},
         {{3, 7, 98, 97}},
         {"changed 3 Spin_Up_Time: 7 milliseconds (100, worst 99) > 7 milliseconds (98, worst 97), 0"},
         0},
        {{{3, 7, 100, 99}},
         {{3, 8, 100, 98}},
         {"grew 3 Spin_Up_Time: 7 milliseconds (100, worst 99) > 8 milliseconds (100, worst 98), 0"},
         0},
        {{{5, 3}}, {{5, 4}}, {"crossed 5 Reallocated_Sector_Ct: 3 sectors (good) > 4 sectors (watch), 96"}, 96},
        {{{5, 4}}, {{5, 3}}, {"recovered 5 Reallocated_Sector_Ct: 4 sectors (watch) > 3 sectors (good), 0"}, 0},
        {{{5, 1}}, {{5, 2}}, {"crossed 5 Reallocated_Sector_Ct: 1 sector (good) > 2 sectors (watch), 96"}, 96},
        {{{5, 20}}, {{5, 21}}, {"grew 5 Reallocated_Sector_Ct: 20 sectors > 21 sectors, 64"}, 64},
        {{{7, 1}}, {}, {"vanished 7 Seek_Error_Rate: 1 rate > , 0"}, 0},
        {{}, {{5, 4}}, {"appeared 5 Reallocated_Sector_Ct:  > 4 sectors, 32"}, 32},
        {{{5, 4}, {5, 9}}, {{5, 4}, {5, 10}}, {}, 0}, // the first counts
    };
    for (const Row& row : rows) {
        const auto drives = compareReports(reportOf({judged(row.before)}), reportOf({judged(row.after)}));
        ASSERT_EQ(drives.size(), 1U);
        std::vector<std::string> changes;
        for (const ValueChange& change : drives[0].values)
            changes.push_back(textOf(change));
        EXPECT_EQ(changes, row.changes);
        EXPECT_EQ(drives[0].status, row.status) << (row.changes.empty() ? "" : row.changes[0]);
        EXPECT_EQ(drives[0].kind, DriveChange::Kind::stayed);
        EXPECT_EQ(drives[0].levelBefore, judged(row.before).judged->verdict.level);
    }
}

TEST(ReportDiff, TellsOfDrivesThatCameWentOrCouldNotBeRead)
{
    const ReportedDrive unread = drive("disk0", "ACME Disk", "S1");
    const ReportedDrive read = judged({{5, 4}});
    const auto lost = compareReports(reportOf({read}), reportOf({unread}));
    EXPECT_EQ(textOf(lost.at(0).values.at(0)), "vanished  S.M.A.R.T. data: readable > , 4");
    EXPECT_EQ(lost[0].status, 4);
    EXPECT_EQ(lost[0].levelBefore, Level::watch);
    const auto found = compareReports(reportOf({unread}), reportOf({read}));
    EXPECT_EQ(textOf(found.at(0).values.at(0)), "appeared  S.M.A.R.T. data:  > readable, 0");
    EXPECT_EQ(found[0].status, 32) << "worse than a drive of which nothing was known";
    EXPECT_TRUE(compareReports(reportOf({unread}), reportOf({unread})).at(0).values.empty());

    ReportedDrive other = read;
    other.identity.serial = " S2 ";
    const auto exchanged = compareReports(reportOf({read}), reportOf({other}));
    ASSERT_EQ(exchanged.size(), 2U);
    EXPECT_EQ(rawValue(exchanged[0].kind), "appeared");
    EXPECT_EQ(exchanged[0].serial, "S2");
    EXPECT_EQ(exchanged[0].status, 32);
    EXPECT_EQ(rawValue(exchanged[1].kind), "vanished");
    EXPECT_EQ(exchanged[1].model, "ACME Disk");
    EXPECT_EQ(exchanged[1].status, 2);
}

TEST(ReportDiff, FindsADriveByTheSurestOfItsMarks)
{
    using Drives = std::vector<ReportedDrive>;
    struct Row {
        Drives before;
        Drives after;
        std::vector<int> earlier; // the place in `before` of each of `after`; -1 for none
    };
    const Row rows[] = {
        {{drive("disk0", "A", "S1"), drive("disk1", "A", "S2")},
         {drive("disk0", "A", "S2"), drive("disk1", "A", " S1")},
         {1, 0}},
        {{drive("disk0", "A", "S1")}, {drive("disk0", "B", "S1")}, {-1}},
        // Namespaces of one controller keep their names.
        {{drive("disk0", "A", "S1"), drive("disk1", "A", "S1")},
         {drive("disk2", "A", "S1"), drive("disk0", "A", "S1")},
         {1, 0}},
        {{drive("disk0", "A", "S1")}, {drive("disk0", "A", "S2")}, {-1}},
        {{drive("disk0", "A", "")}, {drive("disk0", "A", "S2")}, {0}},
        {{drive("disk0", "A", "S1")}, {drive("disk0", "A", "")}, {0}},
        {{drive("disk0", "A", "")}, {drive("disk1", "A", "")}, {-1}},
        {{drive("disk0", "", "")}, {drive("disk0", "", "")}, {0}},
        {{drive("disk0", "A", ""), drive("disk0", "A", "S2")},
         {drive("disk0", "A", "S2"), drive("disk0", "A", "")},
         {1, 0}},
        {{drive("disk0", "A", "S1")}, {drive("disk1", "A", "S1"), drive("disk2", "A", "S1")}, {0, -1}},
    };
    for (const Row& row : rows) {
        const ReportFile before = reportOf(row.before);
        std::vector<int> earlier;
        for (const ReportedDrive* const same : sameDrives(before, reportOf(row.after)))
            earlier.push_back(same ? static_cast<int>(same - before.drives.data()) : -1);
        EXPECT_EQ(earlier, row.earlier) << row.after[0].name << ' ' << row.after[0].identity.serial;
    }
}

TEST(ReportDiff, KnowsAWorseLevelFromABetterOne)
{
    struct Row {
        std::optional<Level> before;
        std::optional<Level> now;
        bool isWorse;
    };
    using enum Level;
    for (const Row& row :
         {Row{good, good, false}, Row{good, watch, true}, Row{watch, good, false}, Row{watch, watch, false},
          Row{atRisk, failing, true}, Row{failing, atRisk, false}, Row{unknown, good, true}, Row{good, unknown, true},
          Row{unknown, unknown, false}, Row{{}, good, false}, Row{{}, watch, true}, Row{{}, unknown, true},
          Row{failing, {}, false}}) {
        DriveChange change;
        change.levelBefore = row.before;
        if (row.now) {
            change.verdict.emplace();
            change.verdict->level = *row.now;
        }
        EXPECT_EQ(change.isWorse(), row.isWorse) << (row.before ? vantorel::rawValue(*row.before) : "-") << ' '
                                                 << (row.now ? vantorel::rawValue(*row.now) : "-");
    }
}

TEST(StoredValues, AreTheSameNumberInTheDigitsOfAnyLocale)
{
    const std::tuple<const char*, const char*, bool> rows[] = {
        {"1,234.5 GB", "1.234,5 GB", true},
        {"1 234,5 GB", "1\u202F234,5\u00A0GB", true},
        {"1'234", "1\u2019234", true},
        {"12", "\u0661\u0662", true},
        {"09", "\u06F0\u06F9", true},
        {"09", "\u0966\u096F", true},
        {"1234", "1235", false},
        {"1 GB", "1 MB", false},
        {"0", "\u066A", false},
        {"9", "\u065F", false},
        {"", "", true},
        {"-5", "5", false},
    };
    for (const auto& [one, other, isSame] : rows) {
        EXPECT_EQ(areSameNumber(one, other), isSame) << one << ' ' << other;
        EXPECT_EQ(areSameNumber(other, one), isSame) << other << ' ' << one;
    }
}

TEST(StoredValues, DifferByTheirKeysAndNotByTheirLocale)
{
    const PropertyTable nvme = {{"name", "DataRead"}, {"formattedValue", "1,234"}, {"state", "good"}};
    const auto pairWith = [](const PropertyTable& decoded, const char* key, const PropertyValue& value) {
        ValuePair pair{decoded, decoded};
        pair.stored->insert_or_assign(key, value);
        return pair;
    };
    EXPECT_TRUE(pairWith(nvme, "formattedValue", "1.234").differences().empty());
    EXPECT_FALSE(pairWith(nvme, "formattedValue", "1.234").isDifferent());
    EXPECT_THAT(pairWith(nvme, "formattedValue", "1.235").differences(), ElementsAre("formattedValue"));
    EXPECT_THAT(pairWith(nvme, "name", "Data.Read").differences(), ElementsAre("name"));
    EXPECT_THAT(pairWith(nvme, "older", 1).differences(), ElementsAre("older"));
    PropertyTable ata = nvme;
    ata.insert_or_assign("id", 5);
    EXPECT_THAT(pairWith(ata, "formattedValue", "1.234").differences(), ElementsAre("formattedValue"))
        << "texts that are the same in every locale";
    const ValuePair alone{nvme, {}};
    EXPECT_TRUE(alone.differences().empty() && alone.isDifferent());
    EXPECT_EQ(alone.either(), nvme);
}

TEST(StoredValues, StandBesideThoseOfToday)
{
    ReportedDrive one = judged({{5, 3}, {197, 2}});
    const auto value = [](int id) { return PropertyTable{{"id", id}, {"name", "stored"}}; };
    one.stored.processedSmart = {{"values", PropertyArray{value(197), value(250), "none", value(197), value(5)}}};
    std::string pairs;
    for (const ValuePair& pair : valuePairs(one))
        pairs += std::to_string(pair.either().get<int>("id").value()) + (pair.stored ? "s" : "") +
                 (pair.decoded ? "d " : " ");
    EXPECT_EQ(pairs, "5sd 197sd 9d 12d 194d 250s 197s ");
    one.judged.reset();
    EXPECT_EQ(valuePairs(one).size(), 4U);
    one.stored.processedSmart.reset();
    EXPECT_TRUE(valuePairs(one).empty());
}

} // namespace
} // namespace vantorel::host
