// SPDX-License-Identifier: GPL-2.0-or-later
#include "ScriptedDrive.h"
#include "machines/linux/channels/LinuxChannels.h"
#include "support/TestData.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <optional>

namespace vantorel::channels {
namespace {

using namespace system;
using test::Exchange;
using test::fixedRegisters;
using test::refused;
using test::registers;
using test::Reply;
using test::ScriptedDrive;

constexpr auto ataVendor = "A: vendor=ATA     \\n\n";
constexpr std::uint32_t exceeded = 0x2CF400;
constexpr std::uint32_t key = 0xC24F00;

// The four commands of an opening and a reading through ATA PASS-THROUGH 16.
constexpr auto powerMode16 = "85 06 20 00 00 00 00 00 00 00 00 00 00 00 E5 00";
constexpr auto identify16 = "85 08 0E 00 00 00 01 00 00 00 00 00 00 00 EC 00";
constexpr auto readData16 = "85 08 0E 00 D0 00 01 00 00 00 4F 00 C2 00 B0 00";
constexpr auto status16 = "85 06 20 00 DA 00 00 00 00 00 4F 00 C2 00 B0 00";

const Data& sector(const std::string& name)
{
    static std::map<std::string, Data> sectors;
    Data& bytes = sectors[name];
    if (bytes.empty())
        bytes = test::readTestData("ata/wd-aaks/" + name + ".bin");
    return bytes;
}

Reply with(Data data)
{
    return {.data = std::move(data), .sense = {}};
}

/// What comes of opening a drive that runs, by ATA PASS-THROUGH 16.
std::vector<Exchange> opening()
{
    return {{powerMode16, registers(0x50, 0, 0xFF, 0)}, {identify16, with(sector("identify"))}};
}

AtaCommand smart(std::uint8_t feature, std::span<std::uint8_t> to = {}, std::uint32_t low = 0)
{
    AtaCommand command;
    command.command = 0xB0;
    command.feature = feature;
    command.count = static_cast<std::uint8_t>(to.size() / 512);
    command.lba = key | low;
    command.read = to;
    return command;
}

/// The look-up of a table with one row.
ChannelOptions knowing(std::optional<std::string> words)
{
    return {.wake = false, .usbBridge = [words](std::uint16_t vendor, std::uint16_t product, std::uint16_t version) {
                EXPECT_EQ(std::tuple(vendor, product, version), std::tuple(0x152D, 0x0578, 0x0204));
                return words;
            }};
}

void plugIntoUsb(DeviceNode& node)
{
    node.usbVendor = "152d";
    node.usbProduct = "0578";
    node.usbVersion = "0204";
}

TEST(AtaChannels, WrapCommandsAsEachBridgeTakesThem)
{
    const Data identify = sector("identify");
    const Data data = sector("data");
    struct Row {
        const char* words; ///< of the drive table; none: a drive of the kernel's own translator
        std::vector<Exchange> exchanges;
        std::optional<std::uint32_t> told; ///< by RETURN STATUS
    };
    const Row rows[] = {
        {nullptr,
         {{powerMode16, registers(0x50, 0, 0xFF, 0)},
          {identify16, with(identify)},
          {readData16, with(data)},
          {status16, registers(0x50, 0, 0, exceeded)}},
         exceeded},
        {nullptr, // a translator that knows only the shorter command
         {{powerMode16, refused(5, 0x20)},
          {"A1 06 20 00 00 00 00 00 00 E5 00 00", fixedRegisters(0x50, 0, 0x80, 0)},
          {"A1 08 0E 00 01 00 00 00 00 EC 00 00", with(identify)},
          {"A1 08 0E D0 01 00 4F C2 00 B0 00 00", with(data)},
          {"A1 06 20 DA 00 00 4F C2 00 B0 00 00", fixedRegisters(0x50, 0, 0, key)}},
         key},
        {"sat", // and a bridge that keeps the registers to itself
         {{powerMode16, {}}, {identify16, with(identify)}, {readData16, with(data)}, {status16, {}}},
         std::nullopt},
        {"sat,12",
         {{"A1 06 20 00 00 00 00 00 00 E5 00 00", registers(0, 0, 0, 0)}, // zeros are no power mode
          {"A1 08 0E 00 01 00 00 00 00 EC 00 00", with(identify)},
          {"A1 08 0E D0 01 00 4F C2 00 B0 00 00", with(data)},
          {"A1 06 20 DA 00 00 4F C2 00 B0 00 00", registers(0x50, 0, 0, 0)}},
         std::nullopt},
        {"usbjmicron",
         {{"DF 10 00 00 01 00 72 0F 00 00 00 FD", with({0x40})},
          {"DF 10 00 02 00 00 01 00 00 00 B0 EC", with(identify)},
          {"DF 10 00 02 00 D0 01 00 4F C2 B0 B0", with(data)},
          {"DF 10 00 00 01 DA 00 00 4F C2 B0 B0", with({0x2C})}},
         exceeded},
        {"usbjmicron",
         {{"DF 10 00 00 01 00 72 0F 00 00 00 FD", with({0x04})},
          {"DF 10 00 02 00 00 01 00 00 00 A0 EC", with(identify)},
          {"DF 10 00 02 00 D0 01 00 4F C2 A0 B0", with(data)},
          {"DF 10 00 00 01 DA 00 00 4F C2 A0 B0", with({0xC2})}},
         key},
        {"usbjmicron,1", // the other drive of two
         {{"DF 10 00 02 00 00 01 00 00 00 B0 EC", with(identify)},
          {"DF 10 00 02 00 D0 01 00 4F C2 B0 B0", with(data)},
          {"DF 10 00 00 01 DA 00 00 4F C2 B0 B0", {}}}, // nothing comes back
         std::nullopt},
        {"usbjmicron,x,0",
         {{"DF 10 00 02 00 00 01 00 00 00 A0 EC", with(identify)},
          {"DF 10 00 02 00 D0 01 00 4F C2 A0 B0", with(data)},
          {"DF 10 00 00 01 DA 00 00 4F C2 A0 B0", with({0x01})}},
         std::nullopt},
        {"usbjmicron,p",
         {{"DF 10 00 02 00 00 01 00 00 00 A0 EC 06 7B", with(identify)},
          {"DF 10 00 02 00 D0 01 00 4F C2 A0 B0 06 7B", with(data)},
          {"DF 10 00 00 01 DA 00 00 4F C2 A0 B0 06 7B", with({0xC2})}},
         key},
        {"usbprolific",
         {{"D8 15 00 00 06 7B 00 00 00 00 00 00 00 00 A0 E5", {}},
          {"D7 00 00 00 06 7B 00 00 00 00 00 00 00 00 00 00",
           with(test::bytesOf("50 00 FF 11 22 33 44 55 66 77 A0 88 99 AA BB CC"))},
          {"D8 15 00 00 06 7B 00 00 02 00 01 00 00 00 A0 EC", with(identify)},
          {"D8 15 00 D0 06 7B 00 00 02 00 01 00 4F C2 A0 B0", with(data)},
          {"D8 15 00 DA 06 7B 00 00 00 00 00 00 4F C2 A0 B0", {}},
          {"D7 00 00 00 06 7B 00 00 00 00 00 00 00 00 00 00",
           with(test::bytesOf("50 00 00 00 00 11 F4 22 2C 33 A0 44 00 00 00 00"))}},
         exceeded},
        {"usbsunplus",
         {{"F8 00 22 00 00 00 00 00 00 00 A0 E5", {}},
          {"F8 00 21 00 00 00 00 00 00 00 00 00", with(test::bytesOf("11 00 FF 22 33 44 A0 50"))},
          {"F8 00 22 10 01 00 01 00 00 00 A0 EC", with(identify)},
          {"F8 00 22 10 01 D0 01 00 4F C2 A0 B0", with(data)},
          {"F8 00 22 00 00 DA 00 00 4F C2 A0 B0", {}},
          {"F8 00 21 00 00 00 00 00 00 00 00 00", with(test::bytesOf("11 00 22 00 F4 2C A0 50"))}},
         exceeded},
        {"usbcypress,0x26",
         {{"26 24 00 BE 01 00 00 00 00 00 00 00 E5 00 00 00", {}},
          {"26 24 01 BE 01 00 00 00 00 00 00 00 E5 00 00 00", with(test::bytesOf("00 00 FF 00 00 00 00 00"))},
          {"26 24 80 BE 01 00 00 01 00 00 00 00 EC 00 00 00", with(identify)},
          {"26 24 00 BE 01 00 D0 01 00 4F C2 00 B0 00 00 00", with(data)},
          {"26 24 00 BE 01 00 DA 00 00 4F C2 00 B0 00 00 00", {}},
          {"26 24 01 BE 01 00 DA 00 00 4F C2 00 B0 00 00 00", with(test::bytesOf("00 00 00 00 4F C2 00 00"))}},
         key},
    };
    ScriptedDrive drive("sdb", ataVendor);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.words ? row.words : "direct");
        if (row.words)
            plugIntoUsb(drive.node);
        DriveChannels channels(row.words ? knowing(row.words) : ChannelOptions());
        EXPECT_EQ(channels.commands(drive.node), DriveCommands::ata);
        drive.expect(row.exchanges);
        const auto opened = channels.openAta(drive.node);
        EXPECT_EQ(opened.status, kIOReturnSuccess);
        ASSERT_TRUE(opened.channel);
        std::array<std::uint8_t, 512> read{};
        const AtaResult result = opened.channel->execute(smart(0xD0, read));
        EXPECT_EQ(result.status, kIOReturnSuccess);
        EXPECT_EQ(result.received, 512U);
        EXPECT_EQ(Data(read.begin(), read.end()), data);
        const AtaResult told = opened.channel->execute(smart(0xDA));
        EXPECT_EQ(told.status, row.told ? kIOReturnSuccess : kIOReturnUnsupported);
        if (row.told) {
            EXPECT_EQ(told.lba & 0xFFFF00U, *row.told);
        }
        drive.finish();
    }
}

TEST(AtaChannels, TellHowACommandEnded)
{
    ScriptedDrive drive("sdb", ataVendor);
    DriveChannels channels({});
    drive.expect(opening());
    const auto opened = channels.openAta(drive.node);
    ASSERT_TRUE(opened.channel);
    struct Row {
        Reply reply;
        IOReturn status;
        std::size_t received = 512;
    };
    Data part = sector("data");
    part.resize(100);
    const Row rows[] = {
        {{.error = EPERM}, kIOReturnNotPrivileged, 0},
        {{.error = EACCES}, kIOReturnNotPrivileged, 0},
        {{.error = ENODEV}, kIOReturnNoDevice, 0},
        {{.error = ENXIO}, kIOReturnNoDevice, 0},
        {{.error = EBUSY}, kIOReturnExclusiveAccess, 0},
        {{.error = ENOMEM}, kIOReturnNoMemory, 0},
        {{.error = EIO}, kIOReturnIOError, 0},
        {{.host = 1}, kIOReturnNoDevice, 0},
        {{.host = 3}, kIOReturnTimeout, 0},
        {{.host = 7}, kIOReturnIOError, 0},
        {{.scsiStatus = 0x08}, kIOReturnBusy, 0},
        {{.scsiStatus = 0x18}, kIOReturnExclusiveAccess, 0},
        {{.scsiStatus = 0x02}, kIOReturnIOError, 0}, // CHECK CONDITION with nothing to check
        {{.sense = {0x72, 0x0B}}, kIOReturnIOError, 0},
        {refused(2, 0x04), kIOReturnBusy, 0},
        {refused(3, 0x11), kIOReturnNotReadable, 0},
        {refused(4, 0x44), kIOReturnIOError, 0},
        {refused(5, 0x24), kIOReturnUnsupported, 0},
        {refused(0xB), kIOReturnUnsupported, 0},
        {registers(0x51, 0x04, 0, 0), kIOReturnUnsupported, 0},
        {registers(0x51, 0x40, 0, 0), kIOReturnNotReadable, 0},
        {registers(0x51, 0x10, 0, 0), kIOReturnNotReadable, 0},
        {registers(0x51, 0x80, 0, 0), kIOReturnIOError, 0},
        {registers(0x70, 0x04, 0, 0), kIOReturnIOError, 0}, // a fault
        {{.data = part, .sense = refused(1).sense}, kIOReturnSuccess, 100},
        {with(part), kIOReturnSuccess, 100},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        drive.expect({{readData16, row.reply}});
        std::array<std::uint8_t, 512> read{};
        const AtaResult result = opened.channel->execute(smart(0xD0, read));
        EXPECT_EQ(result.status, row.status);
        if (result.status == kIOReturnSuccess) {
            EXPECT_EQ(result.received, row.received);
        }
    }
    // One that was put off is sent once more, and only once.
    drive.expect({{readData16, refused(6, 0x29)}, {readData16, with(sector("data"))}});
    std::array<std::uint8_t, 512> read{};
    EXPECT_EQ(opened.channel->execute(smart(0xD0, read)).status, kIOReturnSuccess);
    EXPECT_EQ(drive.timeout(), 30'000U);
    drive.expect({{readData16, refused(6, 0x29)}, {readData16, refused(6, 0x28)}});
    EXPECT_EQ(opened.channel->execute(smart(0xD0, read)).status, kIOReturnIOError);
}

TEST(AtaChannels, SendOnlyWhatTheDriveDeclares)
{
    ScriptedDrive drive("sdb", ataVendor);
    DriveChannels channels({});
    Data identify = sector("identify");
    identify[168] = 0x20; // word 84: neither error log nor self-test, but a directory of logs
    identify[511] = static_cast<std::uint8_t>(identify[511] + 3);
    drive.expect({{powerMode16, registers(0x50, 0, 0xFF, 0)}, {identify16, with(identify)}});
    const auto opened = channels.openAta(drive.node);
    ASSERT_TRUE(opened.channel);
    std::array<std::uint8_t, 1024> room{};
    const auto one = std::span(room).first(512);
    const auto statusOf = [&](const AtaCommand& command) {
        const AtaResult result = opened.channel->execute(command);
        EXPECT_TRUE(result.status == kIOReturnSuccess || result.received == 0) << int{command.feature};
        return result.status;
    };

    AtaCommand writing = smart(0xD6, {}, 0x80);
    writing.count = 1;
    writing.write = sector("data");
    EXPECT_EQ(statusOf(writing), kIOReturnNotPermitted);
    AtaCommand wrongSize = smart(0xD0, one);
    wrongSize.count = 2;
    EXPECT_EQ(statusOf(wrongSize), kIOReturnBadArgument);
    AtaCommand readSectors;
    readSectors.command = 0x20;
    readSectors.count = 1;
    readSectors.read = one;
    AtaCommand withoutKey = smart(0xD0, one);
    withoutKey.lba = 0;
    for (const AtaCommand& command :
         {readSectors, withoutKey, smart(0xD4, {}, 1), smart(0xD5, one, 1), smart(0xD5, one, 6), smart(0xDB)})
        EXPECT_EQ(statusOf(command), kIOReturnUnsupported) << int{command.feature};

    // The directory is read once; it has two sectors of log E0h and none of log 11h.
    Data directory(512);
    directory[2 * 0xE0] = 2;
    drive.expect({{"85 08 0E 00 D5 00 01 00 00 00 4F 00 C2 00 B0 00", with(directory)},
                  {"85 08 0E 00 D5 00 02 00 E0 00 4F 00 C2 00 B0 00", with(Data(1024, 0x5A))}});
    EXPECT_EQ(statusOf(smart(0xD5, one, 0x11)), kIOReturnUnsupported);
    EXPECT_EQ(statusOf(smart(0xD5, room, 0xE0)), kIOReturnSuccess);

    // The data sector declares a self-test and an error log as well.
    Data data = sector("data");
    ASSERT_EQ(data[367] & 0x10, 0x10);
    drive.expect({{readData16, with(data)},
                  {"85 08 0E 00 D5 00 01 00 06 00 4F 00 C2 00 B0 00", with(Data(512))},
                  {"85 06 00 00 D4 00 00 00 02 00 4F 00 C2 00 B0 00", {}},
                  {"85 06 00 00 D2 00 F1 00 00 00 4F 00 C2 00 B0 00", {}}});
    EXPECT_EQ(statusOf(smart(0xD0, one)), kIOReturnSuccess);
    EXPECT_EQ(statusOf(smart(0xD5, one, 6)), kIOReturnSuccess);
    EXPECT_EQ(statusOf(smart(0xD4, {}, 2)), kIOReturnSuccess);
    EXPECT_EQ(statusOf(smart(0xD4, {}, 0x82)), kIOReturnUnsupported); // would keep the drive from all else
    AtaCommand autosave = smart(0xD2);
    autosave.count = 0xF1;
    EXPECT_EQ(statusOf(autosave), kIOReturnSuccess);

    // A drive without a directory is not asked for it, nor for a log that only a directory could tell of.
    identify[168] = 0;
    identify[511] = static_cast<std::uint8_t>(identify[511] + 0x20);
    drive.expect({{powerMode16, registers(0x50, 0, 0xFF, 0)}, {identify16, with(identify)}});
    const auto plain = channels.openAta(drive.node);
    ASSERT_TRUE(plain.channel);
    for (const std::uint32_t log : {0x00U, 0xE0U})
        EXPECT_EQ(plain.channel->execute(smart(0xD5, one, log)).status, kIOReturnUnsupported) << log;
}

TEST(AtaChannels, AskForSmartOnlyOnceItIsOn)
{
    ScriptedDrive drive("sdb", ataVendor);
    DriveChannels channels({});
    Data identify = sector("identify");
    identify[170] &= 0xFE; // word 85
    identify[511] = static_cast<std::uint8_t>(identify[511] + 1);
    drive.expect({{powerMode16, registers(0x50, 0, 0xFF, 0)}, {identify16, with(identify)}});
    const auto opened = channels.openAta(drive.node);
    ASSERT_TRUE(opened.channel);
    EXPECT_EQ(opened.channel->execute(smart(0xDA)).status, kIOReturnUnsupported);
    drive.expect({{"85 06 00 00 D8 00 00 00 00 00 4F 00 C2 00 B0 00", {}}, {status16, registers(0x50, 0, 0, key)}});
    EXPECT_EQ(opened.channel->execute(smart(0xD8)).status, kIOReturnSuccess);
    EXPECT_EQ(opened.channel->execute(smart(0xDA)).status, kIOReturnSuccess);

    // A drive without SMART has no channel, but a name.
    identify[164] &= 0xFE; // word 82
    identify[511] = static_cast<std::uint8_t>(identify[511] + 1);
    const std::vector<Exchange> again = {{powerMode16, registers(0x50, 0, 0xFF, 0)}, {identify16, with(identify)}};
    drive.expect(again);
    EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnUnsupported);
    EXPECT_EQ(channels.whyNotOpened(drive.node)->reason, "The drive has no SMART.");
    drive.expect(again);
    const auto identity = channels.readIdentity(drive.node);
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->model, "WDC WD5000AAKS-00TMA0");
    EXPECT_EQ(identity->firmware, "12.01C01");
    EXPECT_FALSE(identity->serial.empty());
}

TEST(AtaChannels, RefuseAnIdentityThatIsNone)
{
    Data wrongSum = sector("identify");
    ++wrongSum[99];
    Data packet = sector("identify");
    packet[1] = 0x85;
    packet[511] = static_cast<std::uint8_t>(packet[511] - (0x85 - 0x42));
    Data part = sector("identify");
    part.resize(511);
    ScriptedDrive drive("sdb", ataVendor);
    DriveChannels channels({});
    for (const Data& bytes : {wrongSum, packet, part, Data(512), Data(512, 0xFF)}) {
        drive.expect({{powerMode16, registers(0x50, 0, 0xFF, 0)}, {identify16, with(bytes)}});
        EXPECT_EQ(channels.openAta(drive.node).status, kIOReturnUnsupported);
        EXPECT_EQ(channels.whyNotOpened(drive.node)->reason, "The drive does not say what it is.");
    }
}

} // namespace
} // namespace vantorel::channels
