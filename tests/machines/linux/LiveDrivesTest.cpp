// SPDX-License-Identifier: GPL-2.0-or-later
// From the library's door down to the commands that a drive is sent.
#include "LiveFixture.h"
#include "channels/ScriptedDrive.h"
#include "support/TestData.h"
#include "vantorel/smart/DriveSnapshot.h"
#include "vantorel/smart/SmartController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <iterator>
#include <thread>

namespace vantorel {
namespace {

using test::Exchange;
using test::registers;
using test::Reply;
using test::ScriptedDrive;

constexpr auto ataVendor = "A: vendor=ATA     \\n\nA: model=WDC WD5000AAKS-0\\n\nA: rev=1C01\\n\n";
constexpr auto powerMode = "85 06 20 00 00 00 00 00 00 00 00 00 00 00 E5 00";
constexpr auto identify = "85 08 0E 00 00 00 01 00 00 00 00 00 00 00 EC 00";
constexpr auto enable = "85 06 00 00 D8 00 00 00 00 00 4F 00 C2 00 B0 00";
constexpr auto autosave = "85 06 00 00 D2 00 F1 00 00 00 4F 00 C2 00 B0 00";
constexpr auto readData = "85 08 0E 00 D0 00 01 00 00 00 4F 00 C2 00 B0 00";
constexpr auto readThresholds = "85 08 0E 00 D1 00 01 00 01 00 4F 00 C2 00 B0 00";
constexpr auto returnStatus = "85 06 20 00 DA 00 00 00 00 00 4F 00 C2 00 B0 00";

Reply sector(const std::string& name)
{
    return {.data = test::readTestData("ata/wd-aaks/" + name + ".bin"), .sense = {}};
}

const Reply isAwake = registers(0x50, 0, 0xFF, 0);
const Reply isAsleep = registers(0x50, 0, 0x00, 0);

/// A whole reading of a drive that is awake.
std::vector<Exchange> reading()
{
    return {{powerMode, isAwake}, {identify, sector("identify")}, {enable, {}},
            {autosave, {}},       {readData, sector("data")},     {readThresholds, sector("thresholds")}};
}

/// The first commands of a reading, the last of them with another end.
std::vector<Exchange> readingUntil(std::size_t command, Reply end)
{
    std::vector<Exchange> exchanges = reading();
    exchanges.resize(command + 1);
    exchanges.back().reply = std::move(end);
    return exchanges;
}

/// The library on this computer's own machine, whose drives are scripted.
class LiveDrives : public test::LiveFixture {
protected:
    void look(bool wake = false)
    {
        system::install(std::make_unique<machines::LinuxMachine>(machines::LinuxOptions{
            .readsSuperblocks = false, .events = machines::Udev::Source::udev, .channels = {.wake = wake}}));
        settle();
    }

    /// The identity in full, which the kernel does not have.
    static std::vector<Exchange> looking() { return {{powerMode, isAwake}, {identify, sector("identify")}}; }

    static std::string errorOf(const Drive& drive)
    {
        try {
            static_cast<void>(SmartController::shared().getATASmartData(drive));
        } catch (const SmartOpenError& error) {
            return "not opened: " + system::machine()->whyNotOpened(DriveSnapshot(drive).service)->reason;
        } catch (const SmartError& error) {
            return error.errorDescription();
        }
        return "read";
    }
};

TEST_F(LiveDrives, ASataDriveIsReadOrSaysWhyNot)
{
    ScriptedDrive sda("sda", ataVendor);
    sda.expect(looking());
    look();
    const auto drive = tracked<Drive>("sda");
    ASSERT_TRUE(drive);
    EXPECT_EQ(drive->model(), "WDC WD5000AAKS-00TMA0");

    sda.expect(reading());
    const ATASmartObject result = SmartController::shared().getATASmartData(*drive);
    EXPECT_EQ(result.rawData, sector("data").data);
    EXPECT_EQ(result.rawThresholds, sector("thresholds").data);
    EXPECT_EQ(result.deviceInfo.model, "WDC WD5000AAKS-00TMA0");
    EXPECT_EQ(result.temperature->id, 194);
    sda.finish();

    Reply part = sector("data");
    part.data.resize(511);
    Reply wrongSum = sector("data");
    ++wrongSum.data[77];
    struct Row {
        std::size_t command;
        Reply end;
        const char* error;
    };
    const Row rows[] = {
        {0, {.error = EPERM}, "not opened: Its commands take CAP_SYS_RAWIO."},
        {0, isAsleep, "not opened: The drive is asleep and was left so."},
        {0, {.host = 3}, "not opened: The drive did not answer in time."},
        {1, {.error = ENODEV}, "not opened: The drive is gone."},
        {1, {.data = Data(512), .sense = {}}, "not opened: The drive does not say what it is."},
        {2, registers(0x51, 0x04, 0, 0), "Unable to enable operations."},
        {4, registers(0x51, 0x40, 0, 0), "Unable to read S.M.A.R.T data."},
        {4, part, "Unable to read S.M.A.R.T data."},
        {4, wrongSum, "S.M.A.R.T data was invalid."},
        {5, {.host = 3}, "Unable to get data tresholds."},
        {5, sector("thresholds"), "read"},
    };
    for (const Row& row : rows) {
        sda.expect(readingUntil(row.command, row.end));
        EXPECT_EQ(errorOf(*drive), row.error);
    }
}

TEST_F(LiveDrives, ADriveThatSleepsIsWokenOnlyWhenThatIsAskedFor)
{
    ScriptedDrive sda("sda", ataVendor);
    sda.expect({{powerMode, isAsleep}});
    look();
    EXPECT_EQ(tracked<Drive>("sda")->model(), "WDC WD5000AAKS-0") << "all that the kernel knows";
    sda.expect({{powerMode, isAsleep}});
    EXPECT_EQ(errorOf(*tracked<Drive>("sda")), "not opened: The drive is asleep and was left so.");

    const bool wake = true;
    std::vector<Exchange> waking = reading();
    waking.erase(waking.begin()); // the power mode is of no interest
    sda.expect({{identify, sector("identify")}});
    look(wake);
    EXPECT_EQ(tracked<Drive>("sda")->model(), "WDC WD5000AAKS-00TMA0");
    sda.expect(waking);
    EXPECT_EQ(errorOf(*tracked<Drive>("sda")), "read");
}

TEST_F(LiveDrives, ADriveThatHangsHoldsUpNoOther)
{
    ScriptedDrive sda("sda", ataVendor);
    ScriptedDrive sdb("sdb", ataVendor, "", &sda);
    sda.expect(looking());
    sdb.expect(looking());
    look();
    sda.expect(readingUntil(4, {.host = 3, .hangs = true}));
    std::string error;
    std::thread slow([&error, drive = DriveSnapshot(*tracked<Drive>("sda"))] {
        try {
            static_cast<void>(SmartController::shared().getSmartData(drive));
        } catch (const SmartError& thrown) {
            error = thrown.errorDescription();
        }
    });
    ASSERT_TRUE(settleUntil([&sda] { return sda.isHanging(); }));
    std::vector<Exchange> failing = reading();
    failing.push_back({returnStatus, registers(0x50, 0, 0, 0x2CF400)});
    failing.push_back({identify, sector("identify")});
    sdb.expect(failing);
    const DriveReading read = SmartController::shared().getSmartData(DriveSnapshot(*tracked<Drive>("sdb")));
    EXPECT_EQ(read.saysFailing, true);
    EXPECT_EQ(read.identify, sector("identify").data);
    EXPECT_TRUE(sda.isHanging());
    sda.letGo(); // as the kernel does when the time is over
    slow.join();
    EXPECT_EQ(error, "Unable to read S.M.A.R.T data.");
}

TEST_F(LiveDrives, AnNvmeDriveIsReadOrSaysWhyNot)
{
    ScriptedDrive nvme("nvme0n1",
                       "A: model=Probe 1\\n\nA: serial=S4\\n\nA: firmware_rev=2B\\n\nA: transport=pcie\\n\n");
    look();
    const auto drive = tracked<Drive>("nvme0n1");
    ASSERT_TRUE(drive);
    EXPECT_EQ(drive->model(), "Probe 1");
    Reply failing = {.data = test::readTestData("nvme/smart.bin")};
    failing.data[0] = 0x04; // a critical warning
    const Reply controller = {.data = test::readTestData("nvme/identify.bin")};
    const std::string tryLog = "nvme 02 FFFFFFFF 7F0002 0 0 0 0 0 512";
    const std::string readLog = "nvme 02 FFFFFFFF 7F8002 0 0 0 0 0 512"; // and leaves events to the system
    const std::string identifyIt = "nvme 06 00000000 1 0 0 0 0 0 4096";
    struct Row {
        std::vector<Exchange> exchanges;
        std::string outcome;
    };
    const std::string degraded = "The NVM subsystem reliability has degraded due to significant media related errors";
    const std::string unread = "Unable to read S.M.A.R.T data.";
    std::vector<Exchange> whole = {{tryLog, failing}, {identifyIt, controller}, {readLog, failing}};
    for (const char* const page : {"1", "2", "3", "5"}) // the other pages that it declares
        whole.push_back({std::string("nvme 02 FFFFFFFF F800") + page + " 0 0 0 0 0 64", {}});
    // Of a controller that does not say what it is nothing is asked but what every one has.
    std::vector<Exchange> nameless = {{tryLog, failing}, {identifyIt, {.nvmeStatus = 0x4002}}, {tryLog, failing}};
    for (const char* const page : {"1", "2", "3"})
        nameless.push_back({std::string("nvme 02 FFFFFFFF F000") + page + " 0 0 0 0 0 64", {}});
    const Row rows[] = {
        {whole, degraded},
        {nameless, degraded},
        {{{tryLog, failing}, {identifyIt, controller}, {readLog, {.nvmeStatus = 0x0006}}}, unread},
        {{{tryLog, failing}, {identifyIt, controller}, {readLog, {.error = ETIME}}}, unread},
        {{{tryLog, {.error = EACCES}}}, "not opened: Its commands take CAP_SYS_ADMIN."},
        {{{tryLog, {.error = ENODEV}}}, "not opened: The drive is gone."},
    };
    for (const Row& row : rows) {
        nvme.expect(row.exchanges);
        std::string outcome;
        try {
            outcome = SmartController::shared().getNVMeSmartData(*drive).assessment;
        } catch (const SmartOpenError&) {
            outcome = "not opened: " + system::machine()->whyNotOpened(DriveSnapshot(*drive).service)->reason;
        } catch (const SmartError& error) {
            outcome = error.errorDescription();
        }
        EXPECT_EQ(outcome, row.outcome);
    }
}

} // namespace
} // namespace vantorel
