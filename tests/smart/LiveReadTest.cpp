// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/AtaReading.h"
#include "smart/SmartService.h"
#include "support/RegistryFixture.h"
#include "support/TestData.h"
#include "system/CallGate.h"
#include "system/plugins/PlugIn.h"
#include "system/registry/HandleTable.h"
#include "vantorel/smart/DriveReading.h"
#include "vantorel/smart/SmartController.h"
#include "vantorel/system/PlugIn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <barrier>
#include <map>
#include <thread>
#include <tuple>

namespace vantorel {
namespace {

using namespace system;

constexpr const char* wdModel = "WDC WD5000AAKS-00TMA0";

class LiveReads : public test::RegistryFixture {
protected:
    ~LiveReads() override { setCallGate(nullptr); }

    /// A machine with an ATA drive disk0 and an NVMe drive disk1, which answer with real bytes.
    void loadBoth()
    {
        test::DiskTree tree;
        const auto ata = tree.driver("AppleAHCI", wdModel, {{"Serial Number", "WD-1"}, {"Medium Type", "Solid State"}},
                                     {{"SMART Capable", true}});
        tree.media(ata, "disk0", "ATA Media");
        const auto nvme =
            tree.driver("IONVMeController", "QEMU NVMe Ctrl", {}, {{"NVMe SMART Capable", true}}, "PCI-Express");
        tree.media(nvme, "disk1", "NVMe Media");
        machine = &load(std::move(tree));
        ataDevice = ata - 1;
        nvmeDevice = nvme - 1;
        machine->ataDrives[ataDevice] = [this](const AtaCommand& command) { return answer(command); };
        machine->nvmeDrives[nvmeDevice] = [this](const NvmeCommand& command) { return answer(command); };
        handlesBefore = liveHandleCount();
    }

    AtaResult answer(const AtaCommand& command) const
    {
        if (command.feature == 0xD0)
            std::ranges::copy(data, command.read.begin());
        if (command.feature == 0xD1)
            std::ranges::copy(thresholds, command.read.begin());
        return {kIOReturnSuccess, command.read.size(), command.lba};
    }

    NvmeResult answer(const NvmeCommand& command)
    {
        const std::uint32_t page = command.cdw10to15[0] & 0xFFU;
        const Data& bytes = command.opcode == 6 ? identify : page == 1 ? errorLog : log;
        const std::size_t count = std::min(bytes.size(), command.read.size());
        std::copy_n(bytes.begin(), count, command.read.begin());
        return {kIOReturnSuccess, command.read.size(), 0};
    }

    /// The text that a read ends with; empty when it gives a result.
    template <typename Read>
    static std::string failureOf(Read read)
    {
        try {
            static_cast<void>(read());
            return {};
        } catch (const SmartError& error) {
            EXPECT_EQ(error.what(), error.errorDescription());
            return error.errorDescription();
        }
    }
    static std::string ataFailure(const Drive& drive)
    {
        return failureOf([&] { return SmartController::shared().getATASmartData(drive); });
    }
    static std::string nvmeFailure(const Drive& drive)
    {
        return failureOf([&] { return SmartController::shared().getNVMeSmartData(drive); });
    }

    void expectNothingLeft() const
    {
        EXPECT_EQ(livePlugInReferences(), 0U);
        EXPECT_EQ(liveHandleCount(), handlesBefore);
        EXPECT_EQ(machine->openChannels, 0);
    }

    test::TestMachine* machine = nullptr;
    std::uint64_t ataDevice = 0;
    std::uint64_t nvmeDevice = 0;
    std::size_t handlesBefore = 0;
    Data data = test::readTestData("ata/wd-aaks/data.bin");
    Data thresholds = test::readTestData("ata/wd-aaks/thresholds.bin");
    Data identify = test::readTestData("nvme/identify.bin");
    Data log = test::readTestData("nvme/smart.bin");
    Data errorLog = Data(64);
};

TEST_F(LiveReads, OfAnAtaDriveGiveWhatTheSavedSectorsDo)
{
    loadBoth();
    const auto drive = tracked<Drive>("disk0");
    const ATASmartObject result = SmartController::shared().getATASmartData(*drive);
    EXPECT_EQ(result.deviceInfo.model, wdModel);
    EXPECT_EQ(result.deviceInfo.serial, "WD-1");
    EXPECT_EQ(result, SmartController::shared().ataSmartController().processExportedSmart(data, thresholds, true,
                                                                                          result.deviceInfo));
    expectNothingLeft();
    // The next read asks the drive again.
    data[7] = static_cast<std::uint8_t>(data[7] + 1);
    EXPECT_EQ(ataFailure(*drive), "S.M.A.R.T data was invalid.");
    data[511] = static_cast<std::uint8_t>(data[511] - 1);
    EXPECT_EQ(SmartController::shared().getATASmartData(*drive).rawData, data);
}

TEST_F(LiveReads, SendAnAtaDriveTheseCommandsAndNoOthers)
{
    loadBoth();
    using Sent = std::tuple<int, int, int, std::uint32_t, std::size_t>; // command, feature, count, address, bytes
    std::vector<Sent> commands;
    machine->ataDrives[ataDevice] = [&](const AtaCommand& c) {
        commands.emplace_back(c.command, c.feature, c.count, c.lba, c.read.size());
        return answer(c);
    };
    static_cast<void>(SmartController::shared().getATASmartData(*tracked<Drive>("disk0")));
    EXPECT_EQ(commands, (std::vector<Sent>{{0xB0, 0xD8, 0, 0xC24F00, 0},      // SMART on
                                           {0xB0, 0xD2, 0xF1, 0xC24F00, 0},   // autosave on
                                           {0xB0, 0xD0, 1, 0xC24F00, 512},    // read data
                                           {0xB0, 0xD1, 1, 0xC24F01, 512}})); // read thresholds

    thresholds[3] = static_cast<std::uint8_t>(thresholds[3] + 1);
    EXPECT_EQ(ataFailure(*tracked<Drive>("disk0")), "Unable to validate S.M.A.R.T data tresholds.");
}

TEST_F(LiveReads, TakeTheIdentityOfAnAtaDriveFromItsObject)
{
    const std::pair<PropertyTable, ATADeviceInfo> rows[] = {
        {{{"Product Name", " MODEL 1 "}, {"Serial Number", "SER 2"}, {"Product Revision Level", "REV 3"}},
         {"MODEL 1", "SER 2", "REV 3"}},
        {{{"Product Name", ""}}, {"", "", ""}},
        {{{"Product Name", 1}, {"Serial Number", 2}, {"Product Revision Level", 3}}, {"Unknown", "", ""}},
    };
    for (const auto& [characteristics, identity] : rows) {
        test::DiskTree tree;
        const auto driver = tree.driver("AppleAHCI", "", characteristics, {{"SMART Capable", true}});
        tree.media(driver, "disk0", "ATA Media");
        machine = &load(std::move(tree));
        machine->ataDrives[driver - 1] = [this](const AtaCommand& command) { return answer(command); };
        const auto drive = tracked<Drive>("disk0");
        EXPECT_EQ(SmartController::shared().getATASmartData(*drive).deviceInfo, identity);
    }
}

TEST_F(LiveReads, OfAnNvmeDriveAskForNoFurtherLogPageAfterOneThatRanIntoItsTime)
{
    loadBoth();
    const auto drive = tracked<Drive>("disk1");
    for (const auto& [status, pages] : {std::pair{kIOReturnSuccess, 5}, {kIOReturnIOError, 5}, {kIOReturnTimeout, 3}}) {
        int asked = 0;
        machine->nvmeDrives[nvmeDevice] = [&, status = status](const NvmeCommand& command) {
            NvmeResult result = answer(command);
            if (command.opcode == 2 && ++asked > 2)
                result.status = status;
            return result;
        };
        EXPECT_EQ(nvmeFailure(*drive), "");
        EXPECT_EQ(asked, pages) << "pages, the health log among them";
    }
}

TEST_F(LiveReads, OfAnNvmeDriveTellItsIdentityAndKeepTheLog)
{
    loadBoth();
    const auto drive = tracked<Drive>("disk1");
    const std::string_view serial = "ABCDEFGHIJKLMNOPQRST";
    std::ranges::copy(serial, identify.begin() + 4);
    const NVMeSmartObject result = SmartController::shared().getNVMeSmartData(*drive);
    const auto saved = *SmartController::shared().nvmeSmartController().processExportedSmart(log);
    EXPECT_EQ(result.deviceInfo.serial, "ABCDEFGHIJKLMNOPQRS");
    EXPECT_EQ(result.deviceInfo.model, "QEMU NVMe Ctrl");
    EXPECT_EQ(result.deviceInfo.powerStates.size(), 1U);
    EXPECT_EQ(result.smartValues, saved.smartValues);
    EXPECT_EQ(result.temperature, saved.temperature);
    EXPECT_EQ(result.rawData, Data(log.begin(), log.begin() + 512));
    EXPECT_FALSE(result.rawThresholds);
    expectNothingLeft();
}

TEST_F(LiveReads, BySnapshotAreMadeOnAnyThreadAndTellWhatTheDriveSaysBesides)
{
    loadBoth();
    machine->ataDrives[ataDevice] = [this](const AtaCommand& command) {
        if (command.command == 0xEC)
            std::ranges::fill(command.read, std::uint8_t{0xEC});
        AtaResult result = answer(command);
        if (command.feature == 0xDA)
            result.lba = 0x2CF400;
        return result;
    };
    const auto ataDrive = tracked<Drive>("disk0");
    const auto nvmeDrive = tracked<Drive>("disk1");
    const DriveSnapshot ata(*ataDrive);
    const DriveSnapshot nvme(*nvmeDrive);
    EXPECT_EQ(ata.service, ataDevice);
    EXPECT_FALSE(ata.isNvme);
    EXPECT_TRUE(ata.isSSD);
    std::optional<DriveReading> ofAta;
    std::optional<DriveReading> ofNvme;
    std::thread([&] { ofAta = SmartController::shared().getSmartData(ata); }).join();
    std::thread([&] { ofNvme = SmartController::shared().getSmartData(nvme); }).join();
    EXPECT_EQ(ofAta->result, SmartObject(SmartController::shared().getATASmartData(*ataDrive)));
    EXPECT_EQ(ofAta->saysFailing, true);
    EXPECT_EQ(ofAta->identify, Data(512, 0xEC));
    EXPECT_EQ(ofNvme->result, SmartObject(SmartController::shared().getNVMeSmartData(*nvmeDrive)));
    EXPECT_EQ(ofNvme->identify, identify);
    EXPECT_EQ(ofNvme->saysFailing, std::nullopt);
    expectNothingLeft();

    const auto failure = [](const DriveSnapshot& drive) {
        return failureOf([&] { return SmartController::shared().getSmartData(drive).result; });
    };
    machine->remove(ataDevice);
    settle();
    EXPECT_EQ(failure(ata), "Unable to find S.M.A.R.T service.");
    EXPECT_EQ(DriveSnapshot(*ataDrive).service, 0U);
    EXPECT_EQ(failure(DriveSnapshot(*ataDrive)), "Unable to find S.M.A.R.T service.");
    machine->nvmeDrives[nvmeDevice] = [](const NvmeCommand&) { return NvmeResult{kIOReturnIOError, 0, 0}; };
    EXPECT_EQ(failure(nvme), "Unable to read S.M.A.R.T data.");
}

TEST_F(LiveReads, BySnapshotGoTheWayThatAUsbBridgeCarries)
{
    for (const bool isNvme : {false, true}) {
        test::DiskTree tree;
        const auto bridge =
            tree.driver("AppleUSBXHCI", "Bridge", {}, {{isNvme ? "NVMe SMART Capable" : "SMART Capable", true}}, "USB");
        tree.media(bridge, "disk0", "Bridge Media");
        load(std::move(tree));
        const DriveSnapshot readable(*tracked<Drive>("disk0"));
        EXPECT_EQ(readable.isNvme, isNvme);
        EXPECT_EQ(readable.isSSD, isNvme);
        EXPECT_EQ(readable.service, bridge - 1);
    }
}

TEST_F(LiveReads, FindTheNearestEntryThatDeclaresItselfCapable)
{
    using Tables = std::vector<PropertyTable>;
    struct Row {
        const char* title;
        Tables above; ///< the drive's ancestors from the nearest up
        PropertyTable own;
        std::size_t found; ///< index in `above`
    };
    constexpr std::size_t none = 99;
    const Row rows[] = {
        {"false below true", {{{"SMART Capable", false}}, {{"SMART Capable", true}}}, {}, 1},
        {"the nearest of two", {{{"SMART Capable", true}}, {{"SMART Capable", true}}}, {}, 0},
        {"the drive's own", {{}, {}}, {{"SMART Capable", true}}, none},
        {"the other protocol's", {{{"NVMe SMART Capable", true}}, {}}, {}, none},
        {"no booleans", {{{"SMART Capable", 1}}, {{"SMART Capable", "Yes"}}, {{"SMART Capable", true}}}, {}, 2},
        {"nothing", {}, {}, none},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        test::DiskTree tree;
        std::vector<test::DiskTree::Id> parent;
        std::vector<test::DiskTree::Id> ids;
        for (auto above = row.above.rbegin(); above != row.above.rend(); ++above) {
            parent = {tree.add(parent, "IOBlockStorageDevice", "Device", *above)};
            ids.insert(ids.begin(), parent[0]);
        }
        if (parent.empty())
            parent = {tree.add({}, "IOBlockStorageDevice", "Device")};
        tree.media(parent[0], "disk0", "Media", row.own);
        load(std::move(tree));
        const std::size_t before = liveHandleCount();
        {
            const auto drive = tracked<Drive>("disk0");
            const IOHandle service = getSmartService(*drive);
            std::uint64_t id = 0;
            if (service)
                IORegistryEntryGetRegistryEntryID(service.get(), id);
            EXPECT_EQ(id, row.found == none ? 0 : ids[row.found]);
            if (row.found == none) {
                EXPECT_EQ(ataFailure(*drive), "Unable to find S.M.A.R.T service.");
            }
        }
        EXPECT_EQ(liveHandleCount(), before);
    }
}

TEST_F(LiveReads, OfADriveThatHasGoneDoNotTouchTheRegistry)
{
    loadBoth();
    const auto ata = tracked<Drive>("disk0");
    const auto nvme = tracked<Drive>("disk1");
    machine->remove(ataDevice);
    machine->remove(nvmeDevice);
    settle();
    std::vector<std::string> asked;
    setCallGate([&](std::string_view operation) { return asked.emplace_back(operation), true; });
    EXPECT_EQ(ataFailure(*ata), "Unable to find S.M.A.R.T service.");
    EXPECT_EQ(nvmeFailure(*nvme), "Unable to find S.M.A.R.T service.");
    EXPECT_EQ(std::ranges::count_if(asked, [](const auto& name) { return name.find("Parent") != std::string::npos; }),
              0);
}

/// What a read says when an operation is refused for the n-th time.
using Texts = std::map<std::string, std::vector<std::string>, std::less<>>;

/// Refuses each call of a whole read in turn.
template <typename Failure>
void sweep(const Texts& texts, Failure failure, const std::function<void()>& expectNothingLeft)
{
    for (std::size_t refused = 1;; ++refused) {
        std::vector<std::string> made;
        setCallGate([&](std::string_view operation) { return made.emplace_back(operation), made.size() != refused; });
        const std::string text = failure();
        setCallGate(nullptr);
        expectNothingLeft();
        if (made.size() < refused) {
            EXPECT_EQ(text, "");
            break;
        }
        const std::string& operation = made[refused - 1];
        SCOPED_TRACE(testing::Message() << "call " << refused << ", " << operation);
        const auto turn = static_cast<std::size_t>(
            std::count(made.begin(), made.begin() + static_cast<std::ptrdiff_t>(refused), operation) - 1);
        const auto row = texts.find(operation);
        ASSERT_NE(row, texts.end());
        const std::string& expected = row->second[std::min(turn, row->second.size() - 1)];
        EXPECT_EQ(text, expected);
        const bool isWalk = operation.starts_with("IORegistry") || operation == "IOServiceGetMatchingService" ||
                            operation == "DADiskCopyIOMedia"; // goes on upwards
        if (!expected.empty() && !isWalk) {
            EXPECT_EQ(made.size(), refused) << "a later call was made: " << made.back();
        }
    }
}

TEST_F(LiveReads, EndAtTheFirstCallThatFailsAndLeaveNothing)
{
    loadBoth();
    const std::string noService = "Unable to find S.M.A.R.T service.";
    const std::string noPlugIn = "Unable to create S.M.A.R.T plugin interface.";
    const std::string noQuery = "Unable to query plugin interface.";
    const std::string noData = "Unable to read S.M.A.R.T data.";
    const auto nothingLeft = [this] { expectNothingLeft(); };
    const Texts walk = {
        {"DADiskCopyIOMedia", {noService}},
        {"IOServiceGetMatchingService", {noService}},
        {"IORegistryEntryGetRegistryEntryID", {noService}},
        {"IORegistryEntryGetParentEntry", {noService}},
        // Of the driver, which does not declare itself, and of the device, which then counts as one that does not.
        {"IORegistryEntryCreateCFProperty", {"", noService}},
        {"IOCreatePlugInInterfaceForService", {noPlugIn}},
        {"QueryInterface", {noQuery}},
    };

    Texts ata = walk;
    ata.insert(
        {{"SMARTEnableDisableOperations", {"Unable to enable operations."}},
         {"SMARTEnableDisableAutosave", {"Unable to enable autosave."}},
         {"SMARTReadData", {noData}},
         {"SMARTValidateReadData", {"S.M.A.R.T data was invalid.", "Unable to validate S.M.A.R.T data tresholds."}},
         {"SMARTReadDataThresholds", {"Unable to get data tresholds."}}});
    const auto ataDrive = tracked<Drive>("disk0");
    sweep(
        ata, [&] { return ataFailure(*ataDrive); }, nothingLeft);

    Texts nvme = walk;
    nvme.insert({{"GetIdentifyData", {""}}, {"SMARTReadData", {noData}}, {"GetLogPage", {""}}});
    const auto nvmeDrive = tracked<Drive>("disk1");
    sweep(
        nvme, [&] { return nvmeFailure(*nvmeDrive); }, nothingLeft);

    Texts errors = walk;
    errors.insert(
        {{"GetIdentifyData", {"Unable to read identify data."}}, {"GetLogPage", {"Unable to read error log."}}});
    const auto errorsFailure = [&] {
        return failureOf([&] { return SmartController::shared().getNvmeErrorLog(*nvmeDrive); });
    };
    sweep(errors, errorsFailure, nothingLeft);
}

TEST_F(LiveReads, TellThroughWhatTheDriveItselfDoes)
{
    loadBoth();
    const auto ata = tracked<Drive>("disk0");
    const auto nvme = tracked<Drive>("disk1");
    machine->openStatus = kIOReturnNotPrivileged;
    EXPECT_THROW(static_cast<void>(SmartController::shared().getATASmartData(*ata)), SmartOpenError);
    EXPECT_EQ(nvmeFailure(*nvme), "Unable to create S.M.A.R.T plugin interface.");
    machine->openStatus = kIOReturnSuccess;

    machine->ataDrives[ataDevice] = [this](const AtaCommand& command) {
        AtaResult result = answer(command);
        if (command.feature == 0xD1)
            result.received = 500; // short
        return result;
    };
    EXPECT_EQ(ataFailure(*ata), "Unable to get data tresholds.");
    machine->ataDrives[ataDevice] = [](const AtaCommand& command) {
        return AtaResult{command.feature == 0xD2 ? kIOReturnTimeout : kIOReturnSuccess, command.read.size(), 0};
    };
    EXPECT_EQ(ataFailure(*ata), "Unable to enable autosave.");
    machine->ataDrives[ataDevice] = [this](const AtaCommand& command) {
        if (command.feature == 0xD0)
            machine->remove(ataDevice);
        settle();
        return answer(command); // although the drive has gone
    };
    EXPECT_EQ(ataFailure(*ata), "Unable to read S.M.A.R.T data.");

    // Without its identity an NVMe drive is read all the same.
    machine->nvmeDrives[nvmeDevice] = [this](const NvmeCommand& command) {
        return command.opcode == 6 ? NvmeResult{kIOReturnIOError, 0, 0} : answer(command);
    };
    const NVMeSmartObject result = SmartController::shared().getNVMeSmartData(*nvme);
    EXPECT_EQ(result.deviceInfo, (NVMeDeviceInfo{"Unknown", "Unknown", "Unknown", {}}));
    EXPECT_EQ(result.smartValues.size(), 14U);
    EXPECT_EQ(result.rawData.size(), 512U);
    EXPECT_EQ(livePlugInReferences(), 0U);
    EXPECT_EQ(machine->openChannels, 0);
}

TEST_F(LiveReads, OfTheErrorLogGiveTheErrorsNewestFirst)
{
    loadBoth();
    identify[262] = 3; // four entries
    const auto entry = [](std::uint64_t count, std::uint16_t status) {
        NVMeErrorLogPage page{};
        page.error_count = count;
        page.sqid = 2;
        page.cmdid = 0x1234;
        page.status_field = status;
        return page;
    };
    errorLog.clear();
    for (const auto& page : {entry(7, 0x4004), entry(0, 0xFFFF), entry(9, 0x2002), entry(8, 0x6)})
        std::ranges::copy(recordBytes(page), std::back_inserter(errorLog));
    std::size_t asked = 0;
    machine->nvmeDrives[nvmeDevice] = [&](const NvmeCommand& command) {
        asked = command.read.size();
        return answer(command);
    };
    const auto errors = SmartController::shared().getNvmeErrorLog(*tracked<Drive>("disk1"));
    EXPECT_EQ(asked, 256U);
    EXPECT_EQ(errors, (std::vector<NVMeSmartError>{{9, 2, 0x1234, 0x2002}, {8, 2, 0x1234, 6}, {7, 2, 0x1234, 0x4004}}));
    expectNothingLeft();
}

TEST_F(LiveReads, OfTheErrorLogAskForNoMoreThanOneCommandMayMove)
{
    loadBoth();
    struct Row {
        std::uint8_t lastEntry, transfer; ///< ELPE, and MDTS: 2^n pages of 4 KiB, 0 for no limit
        std::size_t entries;
    };
    const Row rows[] = {{0, 0, 1},     {255, 0, 256}, {63, 1, 64},   {127, 1, 128}, {128, 1, 128},
                        {255, 1, 128}, {255, 2, 256}, {255, 8, 256}, {255, 9, 256}, {255, 255, 256}};
    for (const auto& [lastEntry, transfer, entries] : rows) {
        identify[262] = lastEntry;
        identify[77] = transfer;
        std::size_t asked = 0;
        machine->nvmeDrives[nvmeDevice] = [&](const NvmeCommand& command) {
            asked = command.read.size();
            return answer(command);
        };
        EXPECT_TRUE(SmartController::shared().getNvmeErrorLog(*tracked<Drive>("disk1")).empty());
        EXPECT_EQ(asked, entries * 64) << int{lastEntry} << ' ' << int{transfer};
    }
}

TEST_F(LiveReads, OfTwoDrivesRunSideBySide)
{
    loadBoth();
    const auto ata = tracked<Drive>("disk0");
    const auto nvme = tracked<Drive>("disk1");
    const auto ataResult = SmartController::shared().getATASmartData(*ata);
    const auto nvmeResult = SmartController::shared().getNVMeSmartData(*nvme);
    std::barrier start(2);
    std::thread other([&] {
        start.arrive_and_wait();
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(SmartController::shared().getNVMeSmartData(*nvme), nvmeResult);
    });
    start.arrive_and_wait();
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(SmartController::shared().getATASmartData(*ata), ataResult);
    other.join();
    expectNothingLeft();
}

TEST_F(LiveReads, BySnapshotMayRunWhileTheRegistryChangesTheDrive)
{
    loadBoth();
    const DriveSnapshot own(*tracked<Drive>("disk0"));
    std::jthread reader([&] {
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(SmartController::shared().getSmartData(own).result.as<ATASmartObject>()->deviceInfo.model,
                      wdModel);
    });
    for (int i = 0; i < 50; ++i) {
        machine->setVolume("disk0", {std::nullopt, std::to_string(i), std::nullopt, std::nullopt, {}});
        settle();
    }
    reader.join();
    expectNothingLeft();
}

TEST(AtaReading, VerifiesIdentifyDataByTheirIntegrityWord)
{
    std::array<std::uint16_t, 256> words{};
    EXPECT_FALSE(ata::verifyIdentifyData(words));
    words[10] = 0x4142;
    words[255] = 0xD8A5; // 41h + 42h + D8h + A5h = 200h
    EXPECT_TRUE(ata::verifyIdentifyData(words));
    words[254] = 0x0100;
    EXPECT_FALSE(ata::verifyIdentifyData(words));
    words[254] = 0;
    words[255] = 0xD9A4;
    EXPECT_FALSE(ata::verifyIdentifyData(words));
}

} // namespace
} // namespace vantorel
