// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/metrics/DriveMetrics.h"
#include "support/RegistryFixture.h"
#include "support/TestData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>

namespace vantorel::host {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(MetricFamily, WritesEachTypeInTheWordsOfEachFormat)
{
    static constexpr MetricDescription about[] = {{"a_seconds", MetricType::counter, "seconds", "First."},
                                                  {"b", MetricType::info, "", "Second."},
                                                  {"c_ratio", MetricType::gauge, "ratio", "Third."},
                                                  {"d", MetricType::gauge, "", "Never seen."}};
    std::vector<MetricFamily> families(std::begin(about), std::end(about));
    families[0].add({{"x", "1"}, {"y", ""}}, "2.5");
    families[0].add({{"x", "1"}}, "3");
    families[0].add({{"x", "10"}}, "4");
    families[1].add({{"x", "a\"b\\c\nd\xFF\u202E\u00E9"}}, "1");
    families[2].add({}, "-0.07");
    EXPECT_EQ(metricsText(families, MetricsFormat::openMetrics),
              "# HELP a_seconds First.\n# TYPE a_seconds counter\n# UNIT a_seconds seconds\n"
              "a_seconds_total{x=\"1\"} 2.5\na_seconds_total{x=\"10\"} 4\n"
              "# HELP b Second.\n# TYPE b info\nb_info{x=\"a\\\"b\\\\c d\uFFFD \u00E9\"} 1\n"
              "# HELP c_ratio Third.\n# TYPE c_ratio gauge\n# UNIT c_ratio ratio\nc_ratio -0.07\n# EOF\n");
    EXPECT_EQ(metricsText(families, MetricsFormat::classic),
              "# HELP a_seconds_total First.\n# TYPE a_seconds_total counter\n"
              "a_seconds_total{x=\"1\"} 2.5\na_seconds_total{x=\"10\"} 4\n"
              "# HELP b_info Second.\n# TYPE b_info gauge\nb_info{x=\"a\\\"b\\\\c d\uFFFD \u00E9\"} 1\n"
              "# HELP c_ratio Third.\n# TYPE c_ratio gauge\nc_ratio -0.07\n");
}

using DriveMetrics = test::RegistryFixture;

TEST_F(DriveMetrics, TellWhatADriveHasAndNothingElse)
{
    test::DiskTree tree;
    const auto nvme = tree.driver("IONVMeController", "Fast", {{"Serial Number", "  S1 "}},
                                  {{"NVMe SMART Capable", true}}, "PCI-Express");
    tree.media(nvme, "disk0", "Namespace 1");
    const auto sleeper =
        tree.driver("AppleAHCI", "Slow", {{"Product Revision Level", "F7"}}, {{"SMART Capable", true}});
    tree.media(sleeper, "disk1", "Slow Media", {{"Size", 4001}});
    auto& machine = load(std::move(tree));
    machine.nvmeDrives[nvme - 1] = [](const system::NvmeCommand& command) {
        Data bytes = test::readTestData(command.opcode == 2 ? "nvme/smart.bin" : "nvme/identify.bin");
        if (command.opcode == 2) {
            for (const auto& [offset, byte] : std::initializer_list<std::pair<std::size_t, std::uint8_t>>{{1, 0x36},
                                                                                                          {2, 1},
                                                                                                          {3, 98},
                                                                                                          {4, 10},
                                                                                                          {5, 2},
                                                                                                          {32, 3},
                                                                                                          {48, 4},
                                                                                                          {112, 7},
                                                                                                          {128, 6},
                                                                                                          {144, 5},
                                                                                                          {160, 8}})
                bytes[offset] = byte;
        }
        std::copy_n(bytes.begin(), std::min(bytes.size(), command.read.size()), command.read.begin());
        return system::NvmeResult{system::kIOReturnSuccess, command.read.size(), 0};
    };
    machine.obstacles[sleeper - 1] = {system::kIOReturnNotReady, "The drive is asleep and was left so.", ""};

    auto outcomes = unreadDrives({"disk0", "disk1", "disk9"});
    readDrives(outcomes);
    std::vector<MeasuredDrive> drives;
    for (const DriveOutcome& outcome : outcomes)
        drives.push_back(MeasuredDrive::of(outcome, std::nullopt));
    drives[1].readAt = std::chrono::system_clock::time_point(std::chrono::milliseconds(1'700'000'000'025));
    drives.push_back(drives[0]); // two of one name would cost a server all
    const std::string text = metricsText(driveMetrics(drives), MetricsFormat::classic);

    const std::string fast = "{device=\"disk0\",model=\"Fast\",serial=\"S1\"";
    const std::string slow = "{device=\"disk1\",model=\"Slow\"";
    for (const std::string& line : {
             "vantorel_drive_info" + fast + ",kind=\"unknown\",interface=\"nvme\"} 1",
             "vantorel_drive_info" + slow + ",firmware=\"F7\",kind=\"unknown\",interface=\"ahci\"} 1",
             "vantorel_drive_read_state" + fast + ",state=\"read\"} 1",
             "vantorel_drive_read_state" + slow + ",state=\"read\"} 0",
             "vantorel_drive_read_state" + slow + ",state=\"asleep\"} 1",
             std::string("vantorel_drive_read_state{device=\"disk9\",state=\"noDrive\"} 1"),
             "vantorel_drive_last_read_timestamp_seconds" + slow + "} 1700000000.025",
             "vantorel_drive_size_bytes" + slow + "} 4001",
             "vantorel_drive_level" + fast + ",level=\"watch\"} 1",
             "vantorel_drive_level" + fast + ",level=\"good\"} 0",
             "vantorel_drive_reason" + fast +
                 ",rule=\"nvme.media.few\",attribute=\"MediaAndDataIntegrityErrors\",level=\"watch\"} 1",
             "vantorel_drive_temperature_celsius" + fast + "} 37",
             "vantorel_drive_power_on_seconds_total" + fast + "} 21600",
             "vantorel_drive_wear_ratio" + fast + "} 0.02",
             "vantorel_drive_spare_ratio" + fast + "} 0.98",
             "vantorel_drive_host_bytes_total" + fast + ",direction=\"read\"} 1536000",
             "vantorel_drive_host_bytes_total" + fast + ",direction=\"write\"} 2048000",
             "vantorel_drive_power_cycles_total" + fast + "} 7",
             "vantorel_drive_unsafe_shutdowns_total" + fast + "} 5",
             "vantorel_drive_media_errors_total" + fast + "} 8",
             "vantorel_drive_io_operations_total" + slow + ",direction=\"read\"} 7",
             "vantorel_drive_io_bytes_total" + slow + ",direction=\"write\"} 4096",
         }) {
        const auto place = text.find('\n' + line + '\n');
        EXPECT_NE(place, std::string::npos) << line << "\n" << text;
        EXPECT_EQ(text.find('\n' + line + '\n', place + 1), std::string::npos) << line;
    }
    for (const std::string& absent : std::vector<std::string>{
             "vantorel_drive_level" + slow, "vantorel_drive_temperature_celsius" + slow,
             "vantorel_drive_last_read_timestamp_seconds" + fast, "vantorel_drive_size_bytes{device=\"disk9\"",
             "vantorel_drive_io_errors_total", "vantorel_drive_pending_sectors",
             "vantorel_drive_io_bytes_total" + slow + ",direction=\"read\""})
        EXPECT_THAT(text, Not(HasSubstr(absent)));
}

} // namespace
} // namespace vantorel::host
