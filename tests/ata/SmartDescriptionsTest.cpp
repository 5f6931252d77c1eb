// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/SmartDescriptions.h"

#include "support/Digest.h"
#include "vantorel/ata/DriveDatabase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

namespace vantorel {
namespace {

TEST(SmartDescriptions, EveryKeyIsANameThatSomePresetGives)
{
    std::set<std::string> names;
    for (const drive_settings& row : builtin_knowndrives) {
        for (const auto& definition : parsePresets(row.presets)) {
            if (definition && definition->name)
                names.insert(*definition->name);
        }
    }
    // Given by presets too, but replaced within their rows by a later option for the same attribute.
    names.insert({"Not_In_Use", "Unknown_Attribute"});
    for (const auto& [key, description] : SmartDescriptions())
        EXPECT_TRUE(names.contains(std::string(key))) << key;
    const auto& all = SmartDescriptions();
    EXPECT_EQ(all.size(), 277U);
    EXPECT_EQ(std::ranges::count_if(all, [](const auto& entry) { return !entry.second.name.empty(); }), 209);
    EXPECT_EQ(std::ranges::count_if(all, [](const auto& entry) { return !entry.second.info.empty(); }), 96);
}

TEST(SmartDescriptions, AreThoseThatWereWritten)
{
    test::Digest all;
    for (const auto& [key, description] : std::map(SmartDescriptions().begin(), SmartDescriptions().end()))
        all << key << description.name << description.info;
    EXPECT_EQ(all.value(), 5011385038071173693U);
}

TEST(SmartDescriptions, TextsAreExactToTheLastBlank)
{
    EXPECT_EQ(SmartDescriptions().at("Proprietary_MP").name, "Proprietary ");
    EXPECT_EQ(SmartDescriptions().at("Soft_Read_Error_Rate").info,
              " Indicates the rate of uncorrectable software read errors");
    EXPECT_EQ(SmartDescriptions().at("Total_LBAs_Read").name, "Total LBA's Read");
    EXPECT_EQ(SmartDescriptions().at("Helium_Level").name, "Helium Level Level");
    EXPECT_FALSE(SmartDescriptions().contains("power_on_hours"));
}

TEST(SmartDescriptions, DisplayNamesFollowThreeReplacements)
{
    const std::pair<const char*, const char*> names[] = {
        {"Spin_High_Current", "Spin High Current"},
        {"Power-off_Retract_Count", "Power-off Retract Count"},
        {"Total_NAND_Prog_Ct_GiB", "Total NAND Prog Count GiB"},
        {"Perc_Rated_Life_Used", " Rated Life Used"},
        {"Percent_Lifetime_Used", "Percent Lifetime Used"},
        {"Remaining_Lifetime_Perc", "Remaining Lifetime Perc"},
        {"Unknown Attribute", "Unknown Attribute"},
        {"CtPerc Ct", "Count Count"},
        {"", ""},
    };
    for (const auto& [raw, display] : names)
        EXPECT_EQ(formattedName(raw), display);
}

} // namespace
} // namespace vantorel
