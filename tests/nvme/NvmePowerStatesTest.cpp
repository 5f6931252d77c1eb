// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/nvme/NvmePowerStates.h"

#include "vantorel/system/Localization.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vantorel {
namespace {

template <std::size_t N>
void fill(std::array<std::int8_t, N>& field, std::string_view text)
{
    ASSERT_LE(text.size(), N);
    std::ranges::copy(text, field.begin());
}

TEST(NvmePowerStates, PowersAreShownWithoutRounding)
{
    const std::pair<double, const char*> cases[] = {{0, "0.0mW"},   {50, "500.0mW"}, {99, "990.0mW"},   {100, "1.0W"},
                                                    {825, "8.25W"}, {2500, "25.0W"}, {65535, "655.35W"}};
    for (const auto& [hundredths, text] : cases)
        EXPECT_EQ(formatWatts(hundredths / 100.0), text);
}

TEST(NvmePowerStates, DescriptorsWithoutActivePowerAndLatenciesAreDropped)
{
    NVMeControllerData data{};
    EXPECT_TRUE(processPowerStates(data).empty());
    data.psd[0].max_power = 900; // nothing else
    data.psd[2] = {.max_power = 825,
                   .entry_lat = 70000,
                   .exit_lat = 4,
                   .read_tput = 2,
                   .read_lat = 3,
                   .write_tput = 5,
                   .write_lat = 6,
                   .active_power = 99};
    data.psd[2].flags = 3;                // the largest power in units of 0.0001 W, a state that moves no data
    data.psd[2].active_work_scale = 0x43; // the active power in units of 0.0001 W
    data.psd[2].idle_power = 7;
    data.psd[2].idle_scale = 0x40;
    data.npss = 1;
    data.psd[30].entry_lat = 1;
    data.psd[31].exit_lat = 1;
    const auto states = processPowerStates(data);
    ASSERT_EQ(states.size(), 3U);
    EXPECT_EQ(states[0],
              (NVMePowerState{"8.25W", "990.0mW", "2", "3 \u03BCs", "5", "6 \u03BCs", "70000 \u03BCs", "4 \u03BCs"}));
    EXPECT_EQ(states[1].entryLatency, "1 \u03BCs");
    EXPECT_EQ(states[2],
              (NVMePowerState{"0.0mW", "0.0mW", "0", "0 \u03BCs", "0", "0 \u03BCs", "0 \u03BCs", "1 \u03BCs"}));
}

TEST(NvmePowerStates, IdentityTextsAreCutAndTrimmed)
{
    NVMeControllerData data{};
    fill(data.sn, "12345678901234567890");
    fill(data.mn, "\t Model X   ");
    fill(data.fr, "1.0");
    EXPECT_EQ(processControllerData(data).serial, "1234567890123456789");
    EXPECT_EQ(processControllerData(data).model, "Model X");
    EXPECT_EQ(processControllerData(data).firmware, "1.0");

    system::setTranslations({{"Unknown", "Unbekannt"}});
    fill(data.sn, std::string(20, ' '));
    fill(data.mn, "\xFF\xFE");
    EXPECT_EQ(processControllerData(data).serial, "");
    EXPECT_EQ(processControllerData(data).model, "Unbekannt");
}

} // namespace
} // namespace vantorel
