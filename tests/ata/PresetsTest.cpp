// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/ata/DriveDatabase.h"

#include <gtest/gtest.h>

#include <map>

namespace vantorel {
namespace {

using Definition = ATASmartAttributeDefinition;
using enum ata_attr_raw_format;

std::map<unsigned, Definition> filledSlots(const ATASmartAttributeDefinitions& definitions)
{
    std::map<unsigned, Definition> filled;
    for (unsigned id = 0; id < definitions.size(); ++id) {
        if (definitions[id])
            filled.emplace(id, *definitions[id]);
    }
    return filled;
}

TEST(Presets, EachOptionGivesOneDefinition)
{
    const struct {
        const char* text;
        std::map<unsigned, Definition> slots;
    } cases[] = {
        {"", {}},
        {"-d sat", {}},
        {"-F samsung3", {}},
        {"-v 188,raw16", {{188, {std::nullopt, raw16, 0, ""}}}},
        {"-v 188,raw16,", {{188, {std::nullopt, raw16, 0, ""}}}},
        {"-v 9,halfminutes -F samsung", {{9, {"Power_On_Half_Minutes", halfmin2hour, 0, ""}}}},
        {"-v 193,loadunload", {{193, {std::nullopt, raw24_div_raw24, 0, ""}}}},
        {"-v 197,increasing", {{197, {"Total_Pending_Sectors", raw48, Definition::increasing, ""}}}},
        {"-v 229,hex64:w012345r,Halt_System/Flash_ID", {{229, {"Halt_System/Flash_ID", hex64, 4, "w012345r"}}}},
        {"-v 9,hex64,Proprietary_9", {{9, {"Proprietary_9", hex64, 6, ""}}}},
        {"-v 194,raw24/raw32:zvzzzw,Fractional_Temperature",
         {{194, {"Fractional_Temperature", raw24_div_raw32, 6, "zvzzzw"}}}},
        {"-v 6,raw48,Read_Channel_Margin,HDD", {{6, {"Read_Channel_Margin", raw48, Definition::hddOnly, ""}}}},
        {"-v 177,raw48,Wear_Leveling_Count,SSD", {{177, {"Wear_Leveling_Count", raw48, Definition::ssdOnly, ""}}}},
        {"-v 177,raw48,Wear,Ssd,more", {{177, {"Wear", raw48, 0, ""}}}},
        {"-v 5,raw48,Not_In_Use -v 5,raw8,Retired", {{5, {"Retired", raw8, 0, ""}}}},
        {"\t-v\t7,raw8+:54:x,N\t", {{7, {"N", raw8, Definition::increasing, "54"}}}},
        {"-v 7,r+aw8+:012,N", {{7, {"N", raw8, Definition::increasing, "012"}}}},
    };
    for (const auto& [text, slots] : cases)
        EXPECT_EQ(filledSlots(parsePresets(text)), slots) << text;
}

TEST(Presets, AnUnknownFormatEndsTheReadingAndOtherFaultsSkipTheirOption)
{
    EXPECT_EQ(filledSlots(parsePresets("-v 1,raw48,A -v 2,raw4,B -v 3,raw48,C")).size(), 1U);
    EXPECT_EQ(filledSlots(parsePresets("-v 1,RAW48,A -v 3,raw48,C")).size(), 0U);
    const auto slots =
        filledSlots(parsePresets("-v x,raw48 -v 2 -v  3,raw48 -v 256,raw48 -v -1,raw48 -v 99999999999999999999,raw8 "
                                 "-v 4.0,raw48 -v 255,raw48,Last"));
    EXPECT_EQ(slots.size(), 2U);
    EXPECT_TRUE(slots.contains(3));
    EXPECT_TRUE(slots.contains(255));
}

TEST(Presets, OldArgumentsAreReplacedOnlyWhereTheyAreTheWholeArgument)
{
    EXPECT_EQ(parsePresets("-v 9,temp")[9]->name, "Temperature_Celsius");
    EXPECT_FALSE(parsePresets("-v 9,temperature")[9]) << "an unknown format";
    EXPECT_EQ(parsePresets("-v 9,seconds -v 9,minutes -v 12,raw8")[9]->format, min2hour);
    EXPECT_EQ(parsePresets("-v 198,increasing")[198]->name, "Total_Offl_Uncorrectabl");
    for (const vendor_opt_entry& entry : vendor_opt_map) {
        const std::string option = "-v ";
        EXPECT_EQ(parsePresets(option + std::string(entry.oldArgument)),
                  parsePresets(option + std::string(entry.currentArgument)))
            << entry.oldArgument;
    }
}

} // namespace
} // namespace vantorel
