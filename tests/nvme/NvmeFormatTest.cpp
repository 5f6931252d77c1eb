// SPDX-License-Identifier: GPL-2.0-or-later
#include "nvme/NvmeFormat.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <tuple>

namespace vantorel {
namespace {

constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();

class NvmeFormat : public testing::Test {
protected:
    NvmeFormat() { setenv("LC_ALL", "en_US.UTF-8", 1); }
};

TEST_F(NvmeFormat, CountersAreReadLowByteFirst)
{
    EXPECT_EQ(formatNVMeValue({0x15, 0xCD, 0x5B, 0x07}), "123,456,789");
    EXPECT_EQ(formatNVMeValue({0, 0, 0, 0, 0, 0, 0, 0, 1}), "~18446744073709551616");
    EXPECT_EQ(formatNVMeValue({0, 0, 0, 0, 0, 0, 0, 0, 1}, 512000), "~18446744073709551616");
    NvmeCounter full;
    full.fill(0xFF);
    EXPECT_EQ(formatNVMeValue(full), "~340282366920938463463374607431768211456");
    EXPECT_EQ(le16ToUInt({0x36, 0x01}), 310U);
}

TEST_F(NvmeFormat, CountersWithAUnitAreByteSizesWhileTheyFit)
{
    const struct {
        std::uint64_t low;
        std::uint64_t bytesPerUnit;
        const char* text;
    } cases[] = {
        {1000, 512000, "488.3 MB"},
        {1, 512000, "500 KB"},
        {0, 512000, "0"},
        {largest, 0, "18,446,744,073,709,551,615"},
        {1, 1, "1 byte"},
        {largest / 512000, 512000, "36,028,797,018,963"}, // no longer below the quotient
        {largest / 512000 - 1, 512000, "8 EB"},           // beyond the largest signed size
        {18014398509481, 512000, "8 EB"},
        {largest, 1, "18,446,744,073,709,551,615"},
    };
    for (const auto& [low, bytesPerUnit, text] : cases)
        EXPECT_EQ(le128ToString(0, low, bytesPerUnit), text) << low;
}

TEST_F(NvmeFormat, KelvinBecomesWholeDegrees)
{
    const std::pair<std::int64_t, const char*> cases[] = {
        {310, "37\u00B0C"}, {0, "Not supported"}, {-1, "Not supported"}, {1, "-272\u00B0C"}, {65535, "65262\u00B0C"}};
    for (const auto& [value, text] : cases)
        EXPECT_EQ(kelvin(value), text);
}

TEST_F(NvmeFormat, OnlyTheFirstSetWarningBitIsTold)
{
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "S.M.A.R.T Overall Health Result: Passed"},
        {0x06, "The temperature is outside of operational threshold"},
        {0xA1, "The available spare space has fallen below the critical threshold"},
        {0x04, "The NVM subsystem reliability has degraded due to significant media related errors"},
        {0x18, "The media has been placed in read only mode"},
        {0x10, "The volatile memory backup device has failed"},
        {0x20, "Unknown critical warning: 0x20"},
        {0x40, "Unknown critical warning: 0x40"},
        {0x80, "Unknown critical warning: 0x80"},
        {0x30, "The volatile memory backup device has failed"},
        {0xE0, "Unknown critical warning: 0xe0"},
        {-32, "Unknown critical warning: 0xffffffffffffffe0"},
    };
    for (const auto& [flag, text] : cases)
        EXPECT_EQ(processWarningFlag(flag), text) << flag;
}

TEST_F(NvmeFormat, EachKeyReadsItsOwnField)
{
    NVMeSMARTLog log{};
    log.temperature = {0x2C, 0x01};
    log.avail_spare = 5;
    log.spare_thresh = 10;
    log.percent_used = 255;
    NvmeCounter* const counters[] = {&log.data_units_read,    &log.data_units_written, &log.host_reads,
                                     &log.host_writes,        &log.ctrl_busy_time,     &log.power_cycles,
                                     &log.power_on_hours,     &log.unsafe_shutdowns,   &log.media_errors,
                                     &log.num_err_log_entries};
    for (std::uint8_t i = 0; i < std::size(counters); ++i)
        (*counters[i])[0] = static_cast<std::uint8_t>(i + 1);
    using enum SmartValueType;
    const struct {
        const char* key;
        const char* text;
        const char* name;
        SmartValueType type;
        const char* info;
        std::uint64_t number;
    } rows[] = {
        {"CriticalWarning", "S.M.A.R.T Overall Health Result: Passed", "Critical Warning", string, "", 0},
        {"Temperature", "27\u00B0C", "Temperature", temperature, "Temperature of the drive", 300},
        {"AvailableSpare", "5%", "Available Spare", percentage, "Available ", 5},
        {"AvailableSpareThreshold", "10%", "Available Spare Threshold", percentage, "", 10},
        {"PercentageUsed", "255%", "Percentage Used", percentage, "", 255},
        {"DataUnitsRead", "500 KB", "Data Units Read", bytes, "", 1},
        {"DataUnitsWritten", "1,000 KB", "Data Units Written", bytes, "", 2},
        {"HostReadCommands", "3", "Host Read Commands", number, "", 3},
        {"HostWriteCommands", "4", "Host Write Commands", number, "", 4},
        {"ControllerBusyTime", "5", "Controller Busy Time", time, "", 5},
        {"PowerCycles", "6", "Power Cycles", string, "", 6},
        {"PowerOnHours", "7", "Power On Hours", time, "", 7},
        {"UnsafeShutdowns", "8", "Unsafe Shutdowns", number, "", 8},
        {"MediaAndDataIntegrityErrors", "9", "Media and Data Integrity Errors", number, "", 9},
        {"ErrorInformationLogEntries", "10", "Error Information Log Entries", number, "", 10},
    };
    ASSERT_EQ(nvmeLogKeys().size(), std::size(rows));
    EXPECT_EQ(NVMeSmartValueDefinitions().size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const auto& row = rows[i];
        EXPECT_EQ(nvmeLogKeys()[i], row.key);
        EXPECT_EQ(processSmartValue(row.key, log),
                  (NVMeSmartValue{row.name, row.text, row.type, NVMeSmartAttributeState::ok, row.info}))
            << row.key;
        EXPECT_EQ(nvmeLogNumber(row.key, log), NvmeLogNumber{.low = row.number}) << row.key;
        const NVMeSmartValueDefinition& definition = NVMeSmartValueDefinitions().at(row.key);
        EXPECT_EQ(std::tie(definition.name, definition.type, definition.info),
                  std::make_tuple(row.name, row.type, row.info));
    }

    log.media_errors[8] = 1;
    EXPECT_EQ(nvmeLogNumber("MediaAndDataIntegrityErrors", log), (NvmeLogNumber{.high = 1, .low = 9}));
    EXPECT_LT((NvmeLogNumber{.high = 0, .low = 9}), (NvmeLogNumber{.high = 1, .low = 0}));
    EXPECT_FALSE(nvmeLogNumber("temperature", log));
    log.critical_warning = 0x80;
    EXPECT_EQ(processSmartValue("CriticalWarning", log).state, NVMeSmartAttributeState::failed);
    EXPECT_EQ(processSmartValue("AvailableSpare", log).state, NVMeSmartAttributeState::ok);

    const NVMeSmartValue unknown = processSmartValue("temperature", log);
    EXPECT_EQ(unknown, (NVMeSmartValue{"Unknown Attribute", "", SmartValueType::string, NVMeSmartAttributeState::ok,
                                       "This value has no recorded definition"}));
}

} // namespace
} // namespace vantorel
