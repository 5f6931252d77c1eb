// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/AttributeFormat.h"

#include "support/AtaSectors.h"
#include "vantorel/system/Localization.h"

#include <gtest/gtest.h>

#include <limits>

namespace vantorel {
namespace {

using enum ata_attr_raw_format;
using Raw = std::array<std::uint8_t, 6>;

std::string formatted(ata_attr_raw_format format, const Raw& raw, const char* byteOrder = "", const char* rawName = "X")
{
    const ATASmartAttributeDefinition definition{.name = rawName, .format = format, .flags = 0, .byteorder = byteOrder};
    return formatSmartValue(test::attribute(200, raw, 3, 2, 0, 1), definition, rawName);
}

constexpr Raw oneToSix = {1, 2, 3, 4, 5, 6};

TEST(AttributeFormat, EveryFormatReadsItsBytes)
{
    const struct {
        ata_attr_raw_format format;
        Raw raw;
        const char* text;
    } cases[] = {
        {raw8, oneToSix, "6 5 4 3 2 1"},
        {raw16, oneToSix, "1541 1027 513"},
        {raw48, {0x10, 0x27}, "10000"},
        {raw48, {255, 255, 255, 255, 255, 255}, "281474976710655"},
        {hex48, {0xBC, 0x9A}, "0x000000009abc"},
        {raw56, {0x10, 0x27}, "281474976720656"}, // the reserved byte is the highest
        {hex56, {0xBC, 0x9A}, "0x01000000009abc"},
        {raw64, {1}, "66051"}, // 01 02 03: worst and current are the lowest bytes
        {hex64, {1}, "0x0000000000010203"},
        {hex64, {255, 255, 255, 255, 255, 255}, "0xffffffffffff0203"},
        {raw16_raw16, {5}, "5"},
        {raw16_raw16, {5, 0, 1, 0, 2, 0}, "5(2 1)"},
        {raw16_raw16, {5, 0, 0, 0, 2, 0}, "5(2 0)"},
        {raw16_avg16, {0xC8, 0, 0x64, 0}, "200 (Average 100)"},
        {raw16_avg16, {0xC8, 0, 0, 0, 9}, "200"},
        {raw24_raw8, {0x10, 0x27, 0, 1, 2, 3}, "10000 (3 2 1)"},
        {raw24_raw8, {0x10, 0x27}, "10000"},
        {raw24_div_raw24, {1, 0, 0, 2}, "2/1"},
        {raw24_div_raw32, {5}, "65536/5"},
        {sec2hour, {0x4D, 0x0E}, "1 hour 1 minute 1 second"},
        {sec2hour, {0x20, 0x1C}, "2 hours"},
        {sec2hour, {}, ""},
        {min2hour, {0x5A}, "1 hour 30 minutes"},
        {min2hour, {0, 0, 1, 0, 9, 9}, "1092 hours 16 minutes"},
        {halfmin2hour, {125}, "1 hour 2 minutes"},
        {msec24hour32, {2, 0, 0, 0, 0x90, 0x5F}, "2 hours 1 minute 30 seconds"},
        {tempminmax, {0x23, 9, 9, 9, 9, 9}, "35"},
        {temp10x, {0x31, 1}, "30.5"},
        {static_cast<ata_attr_raw_format>(20), oneToSix, "?"},
    };
    for (const auto& [format, raw, text] : cases)
        EXPECT_EQ(formatted(format, raw), text) << static_cast<unsigned>(format);
}

TEST(AttributeFormat, ByteOrdersPickBytesByTheirCharacters)
{
    EXPECT_EQ(formatted(raw24_div_raw24, oneToSix, "z54z10"), "1541/513");
    EXPECT_EQ(formatted(hex48, oneToSix, "210zr54"), "0x3020100010605");
    EXPECT_EQ(formatted(hex64, oneToSix, "w012345r"), "0x0201020304050601");
    EXPECT_EQ(formatted(hex64, oneToSix, "zvzzzw"), "0x0000000300000002");
    EXPECT_EQ(formatted(hex48, oneToSix, "6789x"), "0x000000000000") << "digits without a byte";
    EXPECT_EQ(formatted(hex64, oneToSix, "5432105432"), "0x0403020106050403") << "only the last eight count";
    // Hours in the low 32 bits, milliseconds above: two hours and a minute and a half.
    EXPECT_EQ(formatted(msec24hour32, {0x90, 0x5F, 0x01, 2}, "210zzz3"), "2 hours 1 minute 30 seconds");
    EXPECT_EQ(formatted(tempminmax, oneToSix, "5"), "1") << "raw bytes are taken as stored";
}

TEST(AttributeFormat, TheNameAnnouncesTheUnit)
{
    const struct {
        ata_attr_raw_format format;
        Raw raw;
        const char* rawName;
        const char* text;
    } cases[] = {
        {raw48, {2}, "Lifetime_Writes_GiB", "2147483648.0"},
        {raw48, {3}, "Host_Reads_MiB", "3145728.0"},
        {raw48, {3}, "Host_Writes_32MiB", "3145728.0"},
        {raw48, {5}, "Gigabytes_Erased", "5000000000.0"},
        {raw48, {0}, "NAND_Writes_1GiB", "0.0"},
        {raw24_div_raw24, {7}, "Some_GiB", "0.0"},
        {sec2hour, {7}, "Some_MiB", "0.0"},
        {temp10x, {15}, "Some_MiB", "1572864.0"},
        {raw48, {255, 255, 255, 255, 255, 255}, "X_GiB", "3.0223145490365622e+23"},
        {raw48, {7}, "Perc_Rated_Life_Used", "7%"},
        {raw48, {100}, "SuperCap_Health", "100%"},
        {tempminmax, {0xFF}, "Temperature_Celsius", "255\u00B0C"},
        {temp10x, {0x31, 1}, "Temperature_Celsius_x10", "30.5\u00B0C"},
        {sec2hour, {}, "TEMPERATURE", "\u00B0C"},
        {raw48, {1}, "Perc_GiB_Temperature", "1073741824.0"},
    };
    for (const auto& [format, raw, rawName, text] : cases)
        EXPECT_EQ(formatted(format, raw, "", rawName), text) << rawName;
}

TEST(AttributeFormat, WithoutAFormatTheDefaultOfTheNumberHolds)
{
    const ATASmartAttributeDefinition none{
        .name = {}, .format = ata_attr_raw_format::none, .flags = 0, .byteorder = {}};
    EXPECT_EQ(formatSmartValue(test::attribute(5, {5, 0, 1, 0, 2, 0}), none, "X"), "5(2 1)");
    EXPECT_EQ(formatSmartValue(test::attribute(99, {1, 2}), none, "Unknown Attribute"), "513");
}

TEST(AttributeFormat, DefaultNamesDependOnTheKindOfDrive)
{
    EXPECT_EQ(GetDefaultAttributeName(6, false), "Read_Channel_Margin");
    EXPECT_EQ(GetDefaultAttributeName(6, true), "Unknown_Attribute");
    EXPECT_EQ(GetDefaultAttributeName(175, true), "Program_Fail_Count_Chip");
    EXPECT_EQ(GetDefaultAttributeName(175, false), "Unknown_Attribute");
    EXPECT_EQ(GetDefaultAttributeName(9, true), "Power_On_Hours");
    for (const std::uint8_t unknown : std::array<std::uint8_t, 3>{0, 14, 255})
        EXPECT_EQ(GetDefaultAttributeName(unknown, true), "Unknown_Attribute");
}

TEST(AttributeFormat, DurationsAreTranslatedWordByWord)
{
    system::setTranslations({{"hour", "Stunde"}, {"minutes", "Minuten"}, {"s", "wrong"}});
    EXPECT_EQ(formatTime(3600 + 120 + 2), "1 Stunde 2 Minuten 2 seconds");
    EXPECT_EQ(formatTime(7200), "2 hours");
    EXPECT_EQ(formatTime(std::numeric_limits<std::uint64_t>::max()), "5124095576030431 hours 15 seconds");
}

} // namespace
} // namespace vantorel
