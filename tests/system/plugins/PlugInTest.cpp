// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/system/PlugIn.h"

#include "support/TestMachine.h"
#include "system/plugins/PlugIn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <tuple>

namespace vantorel::system {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t ataEntry = 10;
constexpr std::uint64_t nvmeEntry = 20;
constexpr std::uint64_t unfitEntry = 30;

RegistryEntry entry(std::uint64_t id, PropertyTable properties)
{
    return {id, "Device", {}, "IOBlockStorageDevice", {}, {}, std::move(properties)};
}

/// A machine with a drive of either kind, whose commands are noted and answered with `ata` and `nvme`.
class PlugIns : public testing::Test {
protected:
    PlugIns()
    {
        machine.ataDrives[ataEntry] = [this](const AtaCommand& command) {
            ataSent.push_back(command);
            std::iota(command.read.begin(), command.read.end(), std::uint8_t{1});
            return ata.value_or(AtaResult{kIOReturnSuccess, command.read.size(), command.lba});
        };
        machine.nvmeDrives[nvmeEntry] = [this](const NvmeCommand& command) {
            nvmeSent.push_back(command);
            if (command.opcode == 6)
                std::ranges::copy(recordBytes(controller), command.read.begin());
            return nvme.value_or(NvmeResult{kIOReturnSuccess, command.read.size(), 0});
        };
    }
    ~PlugIns() override
    {
        EXPECT_EQ(livePlugInReferences(), 0U);
        EXPECT_EQ(machine.openChannels, 0);
    }
    PlugIns(const PlugIns&) = delete;
    PlugIns& operator=(const PlugIns&) = delete;

    static IOHandle serviceOf(std::uint64_t id)
    {
        return IOHandle(IOServiceGetMatchingService(kIOMasterPortDefault, IORegistryEntryIDMatching(id)));
    }

    static IOReturn create(std::uint64_t id, const base::Uuid& type, PlugInHandle& handle)
    {
        std::int32_t score = 0;
        return IOCreatePlugInInterfaceForService(serviceOf(id).get(), type, kIOCFPlugInInterfaceID, handle, score);
    }

    /// The interface for commands of a new plug-in, which stays in `plugIn`.
    template <typename Table>
    const Table** commandsOf(std::uint64_t id, const base::Uuid& type, const base::Uuid& interfaceId)
    {
        EXPECT_EQ(create(id, type, plugIn), kIOReturnSuccess);
        void* interface = nullptr;
        EXPECT_EQ((*plugIn)->QueryInterface(plugIn, CFUUIDGetUUIDBytes(interfaceId), &interface), kIOReturnSuccess);
        return static_cast<const Table**>(interface);
    }
    const IOATASMARTInterface** openAta()
    {
        return commandsOf<IOATASMARTInterface>(ataEntry, kIOATASMARTUserClientTypeID, kIOATASMARTInterfaceID);
    }
    const IONVMeSMARTInterface** openNvme()
    {
        return commandsOf<IONVMeSMARTInterface>(nvmeEntry, kIONVMeSMARTUserClientTypeID, kIONVMeSMARTInterfaceID);
    }
    void close() { IODestroyPlugInInterface(plugIn); }

    test::TestMachine& machine = test::TestMachine::install({
        entry(ataEntry, {{"SMART Capable", true}}),
        entry(nvmeEntry, {{"NVMe SMART Capable", true}}),
        entry(unfitEntry, {{"SMART Capable", "yes"}}),
    });
    std::vector<AtaCommand> ataSent;
    std::vector<NvmeCommand> nvmeSent;
    std::optional<AtaResult> ata;
    std::optional<NvmeResult> nvme;
    NVMeControllerData controller{};
    PlugInHandle plugIn = nullptr;
    ATASMARTData sector{};
    NVMeErrorLogPage logEntry{};
};

TEST_F(PlugIns, AreMadeForFitServicesOnly)
{
    PlugInHandle handle = nullptr;
    std::int32_t score = 7;
    EXPECT_EQ(create(99, kIOATASMARTUserClientTypeID, handle), kIOReturnBadArgument);
    EXPECT_EQ(create(unfitEntry, kIOATASMARTUserClientTypeID, handle), kIOReturnNoDevice);
    EXPECT_EQ(create(nvmeEntry, kIOATASMARTUserClientTypeID, handle), kIOReturnNoDevice);
    EXPECT_EQ(create(ataEntry, kIOATASMARTInterfaceID, handle), kIOReturnUnsupported);
    EXPECT_EQ(IOCreatePlugInInterfaceForService(serviceOf(ataEntry).get(), kIOATASMARTUserClientTypeID,
                                                kIOATASMARTInterfaceID, handle, score),
              kIOReturnUnsupported);
    for (const IOReturn status : {kIOReturnNotPrivileged, kIOReturnNoDevice, kIOReturnExclusiveAccess}) {
        machine.openStatus = status;
        EXPECT_EQ(create(ataEntry, kIOATASMARTUserClientTypeID, handle), status);
    }
    machine.openStatus = kIOReturnSuccess;
    machine.whenOpened = [] { throw std::runtime_error("no more memory"); };
    EXPECT_EQ(create(ataEntry, kIOATASMARTUserClientTypeID, handle), kIOReturnError);
    machine.whenOpened = nullptr;
    EXPECT_EQ(create(ataEntry, kIOATASMARTUserClientTypeID, handle), kIOReturnSuccess) << "nothing is left claimed";
    IODestroyPlugInInterface(handle);

    const IOHandle service = serviceOf(ataEntry);
    machine.remove(ataEntry);
    EXPECT_EQ(IOCreatePlugInInterfaceForService(service.get(), kIOATASMARTUserClientTypeID, kIOCFPlugInInterfaceID,
                                                handle, score),
              kIOReturnNoDevice);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(score, 0);
    EXPECT_EQ(IODestroyPlugInInterface(handle), kIOReturnBadArgument);
}

TEST_F(PlugIns, HaveTheirServiceForThemselvesUntilTheyAreStopped)
{
    PlugInHandle first = nullptr;
    PlugInHandle second = nullptr;
    PlugInHandle other = nullptr;
    ASSERT_EQ(create(ataEntry, kIOATASMARTUserClientTypeID, first), kIOReturnSuccess);
    EXPECT_EQ(create(ataEntry, kIOATASMARTUserClientTypeID, second), kIOReturnExclusiveAccess);
    EXPECT_EQ(create(nvmeEntry, kIONVMeSMARTUserClientTypeID, other), kIOReturnSuccess);
    EXPECT_EQ((*first)->Stop(first), kIOReturnSuccess);
    EXPECT_EQ(create(ataEntry, kIOATASMARTUserClientTypeID, second), kIOReturnSuccess);
    EXPECT_EQ((*first)->Start(first, nullptr, serviceOf(ataEntry).get()), kIOReturnExclusiveAccess);
    IODestroyPlugInInterface(second);
    EXPECT_EQ((*first)->Start(first, nullptr, serviceOf(nvmeEntry).get()), kIOReturnBadArgument);
    EXPECT_EQ((*first)->Start(first, nullptr, serviceOf(ataEntry).get()), kIOReturnSuccess);
    IODestroyPlugInInterface(first);
    IODestroyPlugInInterface(other);
}

TEST_F(PlugIns, CountTheReferencesOnEachInterface)
{
    auto** const commands = openAta();
    EXPECT_EQ(livePlugInReferences(), 2U); // of the creation and of the query
    void* place = &machine;
    EXPECT_EQ((*plugIn)->QueryInterface(plugIn, CFUUIDGetUUIDBytes(kIONVMeSMARTUserClientTypeID), &place),
              E_NOINTERFACE);
    EXPECT_EQ(place, nullptr);
    EXPECT_EQ((*plugIn)->QueryInterface(plugIn, CFUUIDGetUUIDBytes(kIOATASMARTInterfaceID), nullptr),
              kIOReturnBadArgument);
    // From one interface to the other and back, at the same place.
    EXPECT_EQ((*commands)->QueryInterface(commands, CFUUIDGetUUIDBytes(kIOCFPlugInInterfaceID), &place),
              kIOReturnSuccess);
    EXPECT_EQ(place, plugIn);
    EXPECT_EQ((*plugIn)->Release(plugIn), 1U);
    EXPECT_EQ((*commands)->AddRef(commands), 2U);
    EXPECT_EQ((*commands)->Release(commands), 1U);

    // The interface for commands keeps a plug-in that was not stopped; a stopped one goes with its base interface.
    EXPECT_EQ((*plugIn)->Release(plugIn), 0U);
    EXPECT_EQ((*commands)->SMARTReadData(commands, &sector), kIOReturnSuccess);
    EXPECT_EQ((*commands)->Release(commands), 0U);
    EXPECT_EQ(livePlugInReferences(), 0U);

    openAta();
    (*plugIn)->AddRef(plugIn);
    EXPECT_EQ(IODestroyPlugInInterface(plugIn), kIOReturnSuccess);
    EXPECT_EQ(livePlugInReferences(), 2U);
    EXPECT_EQ((*plugIn)->Release(plugIn), 0U);
}

TEST_F(PlugIns, SendTheAtaCommandsOfTheStandard)
{
    using Call = IOReturn (*)(const IOATASMARTInterface**);
    struct Row {
        Call run;
        std::uint8_t command, feature, count;
        std::uint32_t lba;
        std::size_t read, written;
    };
    static ATASMARTData data;
    static ATASMARTDataThresholds thresholds;
    static ATASMARTLogDirectory directory;
    static std::array<std::uint8_t, 16 * 512> buffer;
    static PlugInBoolean exceeded;
    const Row rows[] = {
        {[](auto i) { return (*i)->SMARTEnableDisableOperations(i, 1); }, 0xB0, 0xD8, 0, 0xC24F00, 0, 0},
        {[](auto i) { return (*i)->SMARTEnableDisableOperations(i, 0); }, 0xB0, 0xD9, 0, 0xC24F00, 0, 0},
        {[](auto i) { return (*i)->SMARTEnableDisableAutosave(i, 1); }, 0xB0, 0xD2, 0xF1, 0xC24F00, 0, 0},
        {[](auto i) { return (*i)->SMARTEnableDisableAutosave(i, 0); }, 0xB0, 0xD2, 0, 0xC24F00, 0, 0},
        {[](auto i) { return (*i)->SMARTReturnStatus(i, &exceeded); }, 0xB0, 0xDA, 0, 0xC24F00, 0, 0},
        {[](auto i) { return (*i)->SMARTExecuteOffLineImmediate(i, 0); }, 0xB0, 0xD4, 0, 0xC24F01, 0, 0},
        {[](auto i) { return (*i)->SMARTExecuteOffLineImmediate(i, 1); }, 0xB0, 0xD4, 0, 0xC24F02, 0, 0},
        {[](auto i) { return (*i)->SMARTReadData(i, &data); }, 0xB0, 0xD0, 1, 0xC24F00, 512, 0},
        {[](auto i) { return (*i)->SMARTReadDataThresholds(i, &thresholds); }, 0xB0, 0xD1, 1, 0xC24F01, 512, 0},
        {[](auto i) { return (*i)->SMARTReadLogDirectory(i, &directory); }, 0xB0, 0xD5, 1, 0xC24F00, 512, 0},
        {[](auto i) { return (*i)->SMARTReadLogAtAddress(i, 0xE0, buffer.data(), 8192); }, 0xB0, 0xD5, 16, 0xC24FE0,
         8192, 0},
        {[](auto i) { return (*i)->SMARTWriteLogAtAddress(i, 0x80, buffer.data(), 1024); }, 0xB0, 0xD6, 2, 0xC24F80, 0,
         1024},
        {[](auto i) { return (*i)->GetATAIdentifyData(i, buffer.data(), 512, nullptr); }, 0xEC, 0, 1, 0, 512, 0},
    };
    auto** const commands = openAta();
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        ataSent.clear();
        EXPECT_EQ(row.run(commands), kIOReturnSuccess);
        ASSERT_EQ(ataSent.size(), 1U);
        const AtaCommand& sent = ataSent[0];
        EXPECT_EQ(std::tuple(sent.command, sent.feature, sent.count, sent.lba, sent.read.size(), sent.write.size()),
                  std::tuple(row.command, row.feature, row.count, row.lba, row.read, row.written));
        EXPECT_EQ(sent.timeout, 30s);
    }
    close();
}

TEST_F(PlugIns, RefuseBadArgumentsWithoutAskingTheDrive)
{
    auto** const i = openAta();
    std::array<std::uint8_t, 9000> buffer{};
    const auto read = [&](std::uint32_t address, void* to, std::uint32_t size) {
        EXPECT_EQ((*i)->SMARTWriteLogAtAddress(i, address, to, size), kIOReturnBadArgument);
        return (*i)->SMARTReadLogAtAddress(i, address, to, size);
    };
    EXPECT_EQ((*i)->SMARTReturnStatus(i, nullptr), kIOReturnBadArgument);
    EXPECT_EQ((*i)->SMARTReadData(i, nullptr), kIOReturnBadArgument);
    EXPECT_EQ((*i)->SMARTValidateReadData(i, nullptr), kIOReturnBadArgument);
    EXPECT_EQ((*i)->SMARTReadDataThresholds(i, nullptr), kIOReturnBadArgument);
    EXPECT_EQ((*i)->SMARTReadLogDirectory(i, nullptr), kIOReturnBadArgument);
    EXPECT_EQ(read(0x100, buffer.data(), 512), kIOReturnBadArgument);
    EXPECT_EQ(read(1, nullptr, 512), kIOReturnBadArgument);
    for (const std::uint32_t size : {0U, 100U, 513U, 17U * 512})
        EXPECT_EQ(read(1, buffer.data(), size), kIOReturnBadArgument) << size;
    for (const std::uint32_t size : {0U, 513U})
        EXPECT_EQ((*i)->GetATAIdentifyData(i, buffer.data(), size, nullptr), kIOReturnBadArgument) << size;
    EXPECT_EQ((*i)->GetATAIdentifyData(i, nullptr, 512, nullptr), kIOReturnBadArgument);
    EXPECT_TRUE(ataSent.empty());
    close();

    auto** const n = openNvme();
    EXPECT_EQ((*n)->SMARTReadData(n, nullptr), kIOReturnBadArgument);
    EXPECT_EQ((*n)->GetIdentifyData(n, nullptr, 0), kIOReturnBadArgument);
    EXPECT_EQ((*n)->GetIdentifyData(n, &controller, 1), kIOReturnUnsupported);
    EXPECT_EQ((*n)->GetLogPage(n, nullptr, 1, 64), kIOReturnBadArgument);
    EXPECT_EQ((*n)->GetLogPage(n, &logEntry, 0x101, 64), kIOReturnBadArgument);
    for (const std::uint32_t length : {0U, 62U, 16388U})
        EXPECT_EQ((*n)->GetLogPage(n, &logEntry, 1, length), kIOReturnBadArgument) << length;
    EXPECT_TRUE(nvmeSent.empty());
    close();
}

TEST_F(PlugIns, GiveTheStatusOfEveryCommand)
{
    auto** const i = openAta();
    for (const IOReturn status : {kIOReturnUnsupported, kIOReturnNotReadable, kIOReturnNotWritable, kIOReturnIOError,
                                  kIOReturnTimeout, kIOReturnNoDevice}) {
        ata = AtaResult{status, 512, 0};
        EXPECT_EQ((*i)->SMARTReadData(i, &sector), status);
    }
    ata = AtaResult{kIOReturnSuccess, 511, 0};
    EXPECT_EQ((*i)->SMARTReadData(i, &sector), kIOReturnUnderrun);
    EXPECT_EQ((*i)->SMARTEnableDisableOperations(i, 1), kIOReturnSuccess); // moves no data, so it cannot be short
    ata.reset();

    PlugInBoolean exceeded = 7;
    for (const auto& [lba, expected] : {std::pair(0x2CF401U, 1), std::pair(0xC24F00U, 0), std::pair(0U, 0)}) {
        ata = AtaResult{kIOReturnSuccess, 0, lba};
        EXPECT_EQ((*i)->SMARTReturnStatus(i, &exceeded), kIOReturnSuccess);
        EXPECT_EQ(exceeded, expected) << lba;
    }
    ata.reset();

    std::array<std::uint16_t, 3> words{0, 0, 0x7777};
    std::uint32_t taken = 0;
    EXPECT_EQ((*i)->GetATAIdentifyData(i, words.data(), 4, &taken), kIOReturnSuccess);
    EXPECT_EQ(words, (std::array<std::uint16_t, 3>{0x0201, 0x0403, 0x7777}));
    EXPECT_EQ(taken, 4U);

    sector = {};
    EXPECT_EQ((*i)->SMARTValidateReadData(i, &sector), kIOReturnSuccess);
    sector.vendorSpecific1[3] = 200;
    EXPECT_EQ((*i)->SMARTValidateReadData(i, &sector), kIOReturnError);
    sector.checksum = 56;
    EXPECT_EQ((*i)->SMARTValidateReadData(i, &sector), kIOReturnSuccess);

    EXPECT_EQ((*plugIn)->Stop(plugIn), kIOReturnSuccess);
    EXPECT_EQ(machine.openChannels, 0) << "at once, not with the end of the plug-in";
    EXPECT_EQ((*i)->SMARTReadData(i, &sector), kIOReturnNotOpen);
    close();
}

TEST_F(PlugIns, SayThatADriveIsGoneWhateverItsChannelSays)
{
    auto** const i = openAta();
    machine.remove(ataEntry);
    EXPECT_EQ((*i)->SMARTReadData(i, &sector), kIOReturnNoDevice);
    EXPECT_TRUE(ataSent.empty());
    close();

    machine.nvmeDrives[nvmeEntry] = [this](const NvmeCommand& command) {
        machine.remove(nvmeEntry); // while the command runs
        return NvmeResult{kIOReturnSuccess, command.read.size(), 0};
    };
    auto** const n = openNvme();
    NVMeSMARTLog log{};
    EXPECT_EQ((*n)->SMARTReadData(n, &log), kIOReturnNoDevice);
    close();
}

TEST_F(PlugIns, BoundEveryCommandSoThatADriveThatHangsTimesOut)
{
    std::chrono::milliseconds clock = 0ms;
    machine.nvmeDrives[nvmeEntry] = [&](const NvmeCommand& command) {
        clock += command.timeout; // as long as a channel may wait
        return NvmeResult{kIOReturnTimeout, 0, 0};
    };
    auto** const n = openNvme();
    NVMeSMARTLog log{};
    EXPECT_EQ((*n)->SMARTReadData(n, &log), kIOReturnTimeout);
    EXPECT_EQ((*n)->GetIdentifyData(n, &controller, 0), kIOReturnTimeout);
    EXPECT_EQ(clock, 60s);
    for (std::uint32_t page = 0; page < 40; ++page)
        EXPECT_EQ((*n)->GetLogPage(n, &logEntry, page, 64), kIOReturnTimeout);
    EXPECT_EQ(clock, 60s) << "no log page is asked for after that";
    close();
    auto** const fresh = openNvme();
    EXPECT_EQ((*fresh)->GetLogPage(fresh, &logEntry, 1, 64), kIOReturnTimeout);
    EXPECT_EQ(clock, 90s);
    close();
}

TEST_F(PlugIns, SendTheNvmeCommandsOfTheStandard)
{
    auto** const n = openNvme();
    NVMeSMARTLog log{};
    EXPECT_EQ((*n)->SMARTReadData(n, &log), kIOReturnSuccess);
    controller.ver = 0x00010300;
    NVMeControllerData answer{};
    EXPECT_EQ((*n)->GetIdentifyData(n, &answer, 0), kIOReturnSuccess);
    EXPECT_EQ(answer.ver, 0x00010300U);
    EXPECT_EQ((*n)->GetLogPage(n, &logEntry, 1, 64), kIOReturnSuccess);
    ASSERT_EQ(nvmeSent.size(), 3U);
    const std::tuple<std::uint8_t, std::uint32_t, std::uint32_t, std::size_t> expected[] = {
        {2, 0xFFFFFFFF, 0x007F0002, 512},
        {6, 0, 1, 4096},
        {2, 0xFFFFFFFF, 0x000F8001, 64}, // leaves the event to others, now that the controller is known to be able to
    };
    for (std::size_t k = 0; k < 3; ++k) {
        const NvmeCommand& sent = nvmeSent[k];
        EXPECT_EQ(std::tuple(sent.opcode, sent.nsid, sent.cdw10to15[0], sent.read.size()), expected[k]) << k;
        EXPECT_EQ(sent.timeout, 30s);
    }
    nvme = NvmeResult{kIOReturnSuccess, 63, 0};
    EXPECT_EQ((*n)->GetLogPage(n, &logEntry, 1, 64), kIOReturnUnderrun);
    std::int8_t counters = 0;
    std::uint32_t something = 0;
    EXPECT_EQ((*n)->GetFieldCounters(n, &counters), kIOReturnUnsupported);
    EXPECT_EQ((*n)->ScheduleBGRefresh(n), kIOReturnUnsupported);
    EXPECT_EQ((*n)->GetSystemCounters(n, &counters, &something), kIOReturnUnsupported);
    EXPECT_EQ((*n)->GetAlgorithmCounters(n, &counters, &something), kIOReturnUnsupported);
    close();
}

TEST_F(PlugIns, AskNoControllerForALogPageThatItDoesNotDeclare)
{
    const auto pagesSent = [this] {
        auto** const n = openNvme();
        nvmeSent.clear();
        std::string pages;
        for (std::uint32_t page = 0; page <= 0xFF; ++page) {
            const std::size_t before = nvmeSent.size();
            const IOReturn status = (*n)->GetLogPage(n, &logEntry, page, 64);
            const bool isSent = nvmeSent.size() > before && nvmeSent.back().opcode == 2;
            EXPECT_EQ(status, isSent ? kIOReturnSuccess : kIOReturnUnsupported) << page;
            if (isSent)
                pages += std::to_string(page) + ' ';
        }
        // To learn what it declares, the controller is asked once.
        EXPECT_EQ(std::ranges::count(nvmeSent, 6, &NvmeCommand::opcode), 1);
        close();
        return pages;
    };
    EXPECT_EQ(pagesSent(), "1 2 3 ");
    controller.lpa = 0x02;
    EXPECT_EQ(pagesSent(), "1 2 3 5 ");
    controller.lpa = 0xFD;
    controller.oacs = 0x10;
    EXPECT_EQ(pagesSent(), "1 2 3 6 ");
}

TEST_F(PlugIns, FillEverySlotOfTheirTables)
{
    const auto emptySlots = [](const auto& table) {
        std::array<std::uint64_t, sizeof(table) / 8> words{};
        std::memcpy(words.data(), &table, sizeof(table));
        return std::count(words.begin() + 1, words.end(), 0U); // behind the reserved one
    };
    EXPECT_EQ(emptySlots(**openAta()), 0);
    close();
    auto** const n = openNvme();
    EXPECT_EQ(emptySlots(**n), 0);
    // The table begins as the one whose id it answers to.
    std::int32_t order = 0;
    EXPECT_EQ((*n)->sProbe(n, nullptr, serviceOf(nvmeEntry).get(), &order), kIOReturnSuccess);
    EXPECT_EQ((*n)->sProbe(n, nullptr, serviceOf(ataEntry).get(), &order), kIOReturnBadArgument);
    close();
}

#ifndef NDEBUG
TEST_F(PlugIns, StopADebugBuildThatUsesAnInterfaceAfterItsEnd)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto** const i = openAta();
    close();
    EXPECT_DEATH((*i)->SMARTReadData(i, &sector), "used after its end");
    EXPECT_DEATH((*plugIn)->Release(plugIn), "used after its end");
}
#endif

} // namespace
} // namespace vantorel::system
