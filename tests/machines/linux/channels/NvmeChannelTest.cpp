// SPDX-License-Identifier: GPL-2.0-or-later
#include "ScriptedDrive.h"
#include "machines/linux/channels/LinuxChannels.h"
#include "support/TestData.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vantorel::channels {
namespace {

using namespace system;
using test::Exchange;
using test::refused;
using test::Reply;
using test::ScriptedDrive;

NvmeCommand logPage(std::uint8_t page, std::span<std::uint8_t> to)
{
    NvmeCommand command;
    command.opcode = 2;
    command.nsid = 0xFFFFFFFF;
    command.cdw10to15[0] = page | static_cast<std::uint32_t>(to.size() / 4 - 1) << 16U;
    command.read = to;
    return command;
}

Reply with(Data data)
{
    return {.data = std::move(data), .sense = {}};
}

/// The block in which JMicron's bridge tells how a command ended.
Reply ended(std::uint32_t signature, std::uint16_t status)
{
    Data block(512);
    const auto put = [&](std::size_t word, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i)
            block[4 * word + i] = static_cast<std::uint8_t>(value >> 8 * i);
    };
    put(0, signature);
    put(2, 0x11223344);
    put(5, std::uint32_t{status} << 17U | 0x1ABCDU);
    return with(block);
}

constexpr std::uint32_t nvmeSignature = 0x454D564E;
constexpr auto jmicronEnd = "A1 8F 00 00 02 00 00 00 00 00 00 00";

DriveChannels knowing(DeviceNode& node, const char* words)
{
    node.usbVendor = "152d";
    node.usbProduct = "0583";
    node.usbVersion = "0209";
    return DriveChannels({.wake = false, .usbBridge = [words](const auto&, const auto&, const auto&) {
                              return std::optional<std::string>(words);
                          }});
}

TEST(NvmeChannels, CarryCommandsAsKernelAndBridgesTakeThem)
{
    const Data identify = test::readTestData("nvme/identify.bin");
    Data health = test::readTestData("nvme/smart.bin");
    health.resize(512);
    const Data selfTest(0x218, 0x3C);
    const Data selfTestHead(512, 0x3C);
    struct Row {
        const char* words; ///< of the drive table; none: the kernel's driver
        std::vector<Exchange> exchanges;
        std::size_t selfTest = 564; ///< how much is received of the whole log
        const char* model = "QEMU NVMe Ctrl";
    };
    const Row rows[] = {
        {nullptr,
         {{"nvme 02 FFFFFFFF 7F0002 0 0 0 0 0 512", with(health)},
          {"nvme 02 FFFFFFFF 7F0002 0 0 0 0 0 512", with(health)},
          {"nvme 02 FFFFFFFF 8C0006 0 0 0 0 0 564", with(Data(564, 0x3C))},
          {"nvme 02 FFFFFFFF 8002 0 5063000 1020304 0 0 4", with({1, 2, 3, 4})}}},
        {"sntasmedia",
         {{"E6 06 00 01 00 00 00 00 00 00 00 00 00 00 00 00", with(identify)},
          {"E6 02 00 02 00 00 00 7F 00 00 00 00 00 00 00 00", with(health)},
          {"E6 02 00 06 00 00 00 8C 00 00 00 00 00 00 00 00", with(Data(564, 0x3C))},
          {"E6 02 00 02 00 00 00 00 01 02 03 04 05 06 30 00", with({1, 2, 3, 4})}}},
        {"sntrealtek",
         {{"E4 00 10 06 01 00 00 00 00 00 00 00 00 00 00 00", with(identify)},
          {"E4 00 02 02 02 00 00 00 00 00 00 00 00 00 00 00", with(health)},
          {"E4 00 02 02 06 00 00 00 00 00 00 00 00 00 00 00", with(selfTestHead)}},
         512},
        {"sntjmicron",
         {{"A1 80 00 00 02 00 00 00 00 00 00 00 < 0=454D564E 2=00000006 12=00000001", {}},
          {"A1 82 00 00 10 00 00 00 00 00 00 00", with(identify)},
          {jmicronEnd, ended(nvmeSignature, 0)},
          {"A1 80 00 00 02 00 00 00 00 00 00 00 < 0=454D564E 2=00000002 3=FFFFFFFF 12=007F0002", {}},
          {"A1 82 00 00 02 00 00 00 00 00 00 00", with(health)},
          {jmicronEnd, ended(nvmeSignature, 0)},
          {"A1 80 00 00 02 00 00 00 00 00 00 00 < 0=454D564E 2=00000002 3=FFFFFFFF 12=00850006", {}},
          {"A1 82 00 00 02 18 00 00 00 00 00 00", with(selfTest)},
          {jmicronEnd, ended(nvmeSignature, 0)},
          {"A1 80 00 00 02 00 00 00 00 00 00 00 < 0=454D564E 2=00000002 3=FFFFFFFF 12=00008002 14=05063000 15=01020304",
           {}},
          {"A1 82 00 00 00 04 00 00 00 00 00 00", with({1, 2, 3, 4})},
          {jmicronEnd, ended(nvmeSignature, 0)}},
         0x218},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.words ? row.words : "kernel");
        ScriptedDrive drive(row.words ? "sdb" : "nvme0");
        DriveChannels channels = row.words ? knowing(drive.node, row.words) : DriveChannels({});
        EXPECT_EQ(channels.commands(drive.node), DriveCommands::nvme);
        EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnUnsupported);
        drive.expect(row.exchanges);
        const auto opened = channels.openNvme(drive.node);
        EXPECT_EQ(opened.status, kIOReturnSuccess);
        ASSERT_TRUE(opened.channel);
        std::array<std::uint8_t, 564> room{};
        NvmeCommand hasty = logPage(2, std::span(room).first(512));
        hasty.timeout = std::chrono::milliseconds(1234);
        NvmeResult result = opened.channel->execute(hasty);
        EXPECT_EQ(drive.timeout(), 1234U);
        EXPECT_EQ(result.status, kIOReturnSuccess);
        EXPECT_EQ(result.received, 512U);
        EXPECT_EQ(Data(room.begin(), room.begin() + 512), health);
        result = opened.channel->execute(logPage(6, room));
        EXPECT_EQ(result.status, kIOReturnSuccess);
        EXPECT_EQ(result.received, row.selfTest);

        // An offset, and the event that waits for a reader of the page left where it is.
        NvmeCommand part = logPage(2, std::span(room).first(4));
        part.cdw10to15[0] |= 0x8000;
        part.cdw10to15[2] = 0x05063000;
        part.cdw10to15[3] = 0x01020304;
        const bool carriesOffset = !row.words || std::string_view(row.words) != "sntrealtek";
        EXPECT_EQ(opened.channel->execute(part).status, carriesOffset ? kIOReturnSuccess : kIOReturnUnsupported);

        // Nothing else is sent, and no buffer may be overrun.
        NvmeCommand format = logPage(2, std::span(room).first(512));
        format.opcode = 0x80;
        NvmeCommand overrun = logPage(2, room);
        overrun.read = std::span(room).first(512);
        NvmeCommand shortIdentify = logPage(2, room);
        shortIdentify.opcode = 6;
        for (const auto& [command, status] :
             {std::pair(format, kIOReturnUnsupported), std::pair(overrun, kIOReturnBadArgument),
              std::pair(shortIdentify, kIOReturnBadArgument)}) {
            result = opened.channel->execute(command);
            EXPECT_EQ(result.status, status);
            EXPECT_EQ(result.received, 0U);
            EXPECT_EQ(result.completionStatus, 0);
        }
    }
}

TEST(NvmeChannels, CarryOnlyTheFirstNamespaceWhereACommandHasNoPlaceForItsNumber)
{
    const Data identify = test::readTestData("nvme/identify.bin");
    const Exchange rows[][2] = {
        {{"E6 06 00 01 00 00 00 00 00 00 00 00 00 00 00 00", with(identify)},
         {"E6 06 00 00 00 00 00 00 00 00 00 00 00 00 00 00", with(Data(4096, 0x3C))}},
        {{"E4 00 10 06 01 00 00 00 00 00 00 00 00 00 00 00", with(identify)},
         {"E4 00 10 06 00 00 00 00 00 00 00 00 00 00 00 00", with(Data(4096, 0x3C))}},
    };
    for (const auto& [opening, asked] : rows) {
        ScriptedDrive drive("sdb");
        DriveChannels channels = knowing(drive.node, &opening == &rows[0][0] ? "sntasmedia" : "sntrealtek");
        drive.expect({opening, asked});
        const auto opened = channels.openNvme(drive.node);
        ASSERT_TRUE(opened.channel);
        Data room(4096);
        NvmeCommand command;
        command.opcode = 6;
        command.read = room;
        for (const std::uint32_t number : {0U, 1U, 2U, 0xFFFFFFFFU}) {
            command.nsid = number;
            EXPECT_EQ(opened.channel->execute(command).status, number == 1 ? kIOReturnSuccess : kIOReturnUnsupported)
                << number;
        }
        command.cdw10to15[0] = 1; // the controller has no number
        EXPECT_EQ(opened.channel->execute(command).status, kIOReturnUnsupported);
    }
}

TEST(NvmeChannels, TellHowACommandEnded)
{
    constexpr auto health = "nvme 02 FFFFFFFF 7F0002 0 0 0 0 0 512";
    const std::tuple<Reply, IOReturn, int> rows[] = {
        {{.nvmeStatus = 0x4002}, kIOReturnUnsupported, 0x002},
        {{.nvmeStatus = 0x4109}, kIOReturnUnsupported, 0x109},
        {{.nvmeStatus = 0x007}, kIOReturnAborted, 0x007},
        {{.nvmeStatus = 0x281}, kIOReturnNotReadable, 0x281},
        {{.nvmeStatus = 0x370}, kIOReturnNoDevice, 0x370},
        {{.nvmeStatus = 0x006}, kIOReturnIOError, 0x006},
        {{.error = EINTR}, kIOReturnTimeout, 0}, // given up by the driver
        {{.error = EACCES}, kIOReturnNotPrivileged, 0},
        {{.error = ENODEV}, kIOReturnNoDevice, 0},
    };
    ScriptedDrive drive("nvme0");
    DriveChannels channels({});
    drive.expect({{health, with(Data(512))}});
    const auto opened = channels.openNvme(drive.node);
    ASSERT_TRUE(opened.channel);
    for (const auto& [reply, status, completion] : rows) {
        drive.expect({{health, reply}});
        std::array<std::uint8_t, 512> room{};
        const NvmeResult result = opened.channel->execute(logPage(2, room));
        EXPECT_EQ(result.status, status) << reply.nvmeStatus << ' ' << reply.error;
        EXPECT_EQ(result.completionStatus, completion);
        EXPECT_EQ(result.received, 0U);
    }
}

TEST(NvmeChannels, StopAtTheFirstStepThatABridgeRefuses)
{
    const Data identify = test::readTestData("nvme/identify.bin");
    const Exchange handOver = {"A1 80 00 00 02 00 00 00 00 00 00 00 < 0=454D564E 2=00000006 12=00000001", {}};
    const Exchange take = {"A1 82 00 00 10 00 00 00 00 00 00 00", with(identify)};
    const std::pair<std::vector<Exchange>, IOReturn> rows[] = {
        {{{handOver.command, refused(5, 0x20)}}, kIOReturnUnsupported},
        {{handOver, {take.command, refused(0xB)}}, kIOReturnUnsupported},
        {{handOver, take, {jmicronEnd, ended(nvmeSignature, 0x4002)}}, kIOReturnUnsupported},
        {{handOver, take, {jmicronEnd, ended(nvmeSignature, 0x281)}}, kIOReturnNotReadable},
        {{handOver, take, {jmicronEnd, ended(nvmeSignature + 1, 0)}}, kIOReturnIOError},
        {{handOver, take, {jmicronEnd, with(Data(511))}}, kIOReturnIOError},
        {{handOver, {take.command, with(Data(100))}, {jmicronEnd, ended(nvmeSignature, 0)}}, kIOReturnUnderrun},
    };
    ScriptedDrive drive("sdb");
    DriveChannels channels = knowing(drive.node, "sntjmicron");
    for (const auto& [exchanges, status] : rows) {
        drive.expect(exchanges);
        EXPECT_EQ(channels.openNvme(drive.node).status, status);
    }
}

} // namespace
} // namespace vantorel::channels
