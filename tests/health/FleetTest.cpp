// SPDX-License-Identifier: GPL-2.0-or-later
// Real drives: most of them were in service and well, so that a verdict that cries wolf shows here first.
#include "Readings.h"
#include "support/TestData.h"
#include "vantorel/health/Attributes.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace vantorel::health {
namespace {

std::vector<std::vector<std::string>> readTable(const std::string& path)
{
    const Data bytes = test::readTestData(path);
    std::istringstream stream(std::string(bytes.begin(), bytes.end()));
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with('#'))
            continue;
        std::vector<std::string> cells;
        std::istringstream cellsOfLine(line);
        for (std::string cell; std::getline(cellsOfLine, cell, '\t');)
            cells.push_back(cell);
        rows.push_back(std::move(cells));
    }
    return rows;
}

struct Drive {
    std::string file;
    std::string kind;
    std::string model;
    std::string firmware;
    bool isSSD = false;
    std::string level;
    std::string rule;
    Data bytes;

    [[nodiscard]] Reading reading() const
    {
        const DataView view(bytes);
        const bool isAta = kind == "ata";
        return {.kind = isAta ? Reading::Kind::ata : Reading::Kind::nvme,
                .data = view.first(512),
                .thresholds = view.subspan(512),
                .model = model,
                .firmware = firmware,
                .isSSD = isSSD};
    }
};

std::vector<Drive> fleet()
{
    std::vector<Drive> drives;
    for (const auto& row : readTable("fleet/drives.tsv"))
        drives.push_back({row.at(0), row.at(1), row.at(2), row.at(3), row.at(4) == "1", row.at(5), row.at(6),
                          test::readTestData("fleet/" + row.at(0) + ".bin")});
    return drives;
}

/// Every drive has the level that its state deserves.
void expectLevels()
{
    const auto drives = fleet();
    ASSERT_EQ(drives.size(), 92U);
    for (const Drive& drive : drives) {
        const Verdict verdict = judge(drive.reading());
        EXPECT_EQ(rawValue(verdict.level), drive.level) << drive.file << ": " << verdict.reasons.at(0).sentence;
        EXPECT_EQ(verdict.reasons.at(0).rule, drive.rule) << drive.file;
        EXPECT_TRUE(verdict.temperature && *wholeHours(*verdict.powerOnTime) > 100) << drive.file;
        EXPECT_FALSE(verdict.doubtful) << drive.file;
    }
}

TEST(Fleet, HasNoFalseAlarmByTheBuiltInTable)
{
    expectLevels();
}

TEST(Fleet, HasNoFalseAlarmWithTheRecentTableBehindIt)
{
    addDriveTable(recentDriveTable(), DriveTableUse::supplement);
    expectLevels();
}

TEST(Fleet, HasNoFalseAlarmWithTheRecentTableInFront)
{
    addDriveTable(recentDriveTable(), DriveTableUse::override);
    expectLevels();
}

/// Calls `check` with each attribute that smartctl showed, its raw number and its text.
template <typename Check>
std::size_t compareWithSmartctl(Check check)
{
    addDriveTable(recentDriveTable(), DriveTableUse::override); // smartctl had a table of its day
    std::map<std::string, std::vector<Attribute>> attributes;
    const auto drives = fleet();
    for (const Drive& drive : drives)
        attributes[drive.file] = attributesOf(drive.reading());
    std::size_t compared = 0;
    for (const auto& row : readTable("fleet/values.tsv")) {
        const auto& of = attributes.at(row.at(0));
        const auto found = std::ranges::find_if(of, [&](const Attribute& attribute) {
            return attribute.name == row.at(1) || std::to_string(attribute.id) == row.at(1);
        });
        if (found == of.end())
            ADD_FAILURE() << row[0] << ' ' << row[1];
        else
            compared += check(row[0] + ' ' + row[1], *found, std::stoull(row.at(2)), row.at(3)) ? 1 : 0;
    }
    return compared;
}

/// This drive has another byte order in its row of today than in the one of that day.
constexpr std::string_view readOtherwise = "KINGSTON_SKC400S371T-sda 170";

TEST(Fleet, NumbersAreThoseOfSmartctl)
{
    const auto isSame = [](const std::string& which, const Attribute& attribute, std::uint64_t raw,
                           const std::string&) {
        if (which == readOtherwise)
            return false;
        EXPECT_EQ(static_cast<std::uint64_t>(attribute.value.raw), raw) << which;
        return true;
    };
    EXPECT_EQ(compareWithSmartctl(isSame), 1880U);
}

TEST(Fleet, TheNumberThatCountsIsTheOneThatAReaderSees)
{
    // smartctl prints some packed numbers whole: errors above sectors (1, 195) and seeks (7), three words (188).
    const auto isPacked = [](std::uint8_t id) {
        constexpr std::uint8_t ids[] = {1, 7, 188, 195};
        return std::ranges::find(ids, id) != std::end(ids);
    };
    const auto isSame = [&](const std::string& which, const Attribute& attribute, std::uint64_t,
                            const std::string& text) {
        const TypedValue& value = attribute.value;
        if (isPacked(attribute.id) || which == readOtherwise || value.unit == Unit::bytes)
            return false;
        const std::string number = attribute.meaning == Meaning::powerOnTime
                                       ? std::to_string(wholeHours(value).value_or(-1))
                                       : decimalText(value);
        EXPECT_EQ(number, text.substr(0, text.find_first_not_of("-0123456789"))) << which;
        return true;
    };
    EXPECT_EQ(compareWithSmartctl(isSame), 1622U);

    const auto hasSameExtremes = [](const std::string& which, const Attribute& attribute, std::uint64_t,
                                    const std::string& text) {
        const auto at = text.find("(Min/Max ");
        const TypedValue& value = attribute.value;
        EXPECT_EQ(at != std::string::npos, value.minimum.has_value()) << which;
        if (at == std::string::npos || !value.minimum)
            return false;
        EXPECT_EQ(text.substr(at), "(Min/Max " + decimalText(*value.minimum) + '/' + decimalText(*value.maximum) + ')');
        return true;
    };
    EXPECT_EQ(compareWithSmartctl(hasSameExtremes), 49U);
}

TEST(Fleet, PackedAndImpossibleNumbersAreNotTakenAtFaceValue)
{
    const auto drives = fleet();
    const auto valueOf = [&](std::string_view file, std::uint8_t id) {
        const auto drive = std::ranges::find(drives, file, &Drive::file);
        const auto attributes = attributesOf(drive->reading());
        return std::ranges::find(attributes, id, &Attribute::id)->value;
    };
    // Three words that are each 4: four timeouts, not 17,180,131,332.
    EXPECT_EQ(static_cast<int>(valueOf("ST3000NM0033-9ZM178-sdc", 188).number), 4);
    // 31 PB read in 10,645 hours.
    EXPECT_FALSE(valueOf("ST8000NM017B-2TJ103-sda", 242).plausible);
    EXPECT_TRUE(valueOf("ST8000NM017B-2TJ103-sda", 241).plausible);
    // Units of 32 MiB behind a name that speaks of blocks.
    const TypedValue written = valueOf("INTEL_SSDSC2KB240G7-sdd", 241);
    EXPECT_EQ(written.unit, Unit::bytes);
    EXPECT_TRUE(written.number == static_cast<Int128>(written.raw) * (32 << 20));
}

TEST(Fleet, AnyChangedByteGivesAVerdictWithAReason)
{
    for (const Drive& drive : fleet()) {
        Drive changed = drive;
        for (std::size_t at = 0; at < changed.bytes.size(); at += drive.kind == "ata" ? 7 : 3) {
            for (const unsigned byte : {0x00U, 0xFFU, 0x80U, 0x01U}) {
                changed.bytes[at] = static_cast<std::uint8_t>(byte);
                EXPECT_FALSE(judge(changed.reading(), drive.reading()).reasons.empty()) << drive.file << ' ' << at;
            }
            if (at % 2 == 0) // leave every other change, so that they pile up
                changed.bytes[at] = drive.bytes[at];
        }
    }
}

} // namespace
} // namespace vantorel::health
