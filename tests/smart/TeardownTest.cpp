// SPDX-License-Identifier: GPL-2.0-or-later
#include "ata/AtaReading.h"
#include "vantorel/ata/ATASmartController.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/nvme/NVMeSmartController.h"
#include "vantorel/smart/records/SmartError.h"
#include "vantorel/system/MessageSink.h"
#include "vantorel/system/PlugIn.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vantorel {
namespace {

/// A plug-in of the test's own: notes each call on either interface and gives the statuses it is told to.
struct Script {
    std::vector<std::string> calls;
    std::int32_t queryStatus = 0;
    std::int32_t firstCommandStatus = 0;
    std::int32_t returnStatus = 0;
    std::int32_t logStatus = 0;
    void* commands = nullptr;
};

Script& script()
{
    static Script the;
    return the;
}

std::int32_t query(void* /*self*/, CFUUIDBytes /*iid*/, void** ppv)
{
    script().calls.emplace_back("query");
    *ppv = script().commands;
    return script().queryStatus;
}

constexpr IOCFPlugInInterfaceStruct baseTable = {
    .QueryInterface = query,
    .AddRef = [](void*) { return script().calls.emplace_back("base +"), 2U; },
    .Release = [](void*) { return script().calls.emplace_back("base -"), 1U; },
    .Stop = [](void*) { return script().calls.emplace_back("stop"), 0; },
};

constexpr IOATASMARTInterface ataTable = {
    .AddRef = [](void*) { return script().calls.emplace_back("commands +"), 2U; },
    .Release = [](void*) { return script().calls.emplace_back("commands -"), 1U; },
    .SMARTEnableDisableOperations =
        [](void*, PlugInBoolean) { return script().calls.emplace_back("enable"), script().firstCommandStatus; },
    .SMARTReturnStatus = [](void*, PlugInBoolean* exceeded) { return *exceeded = 2, script().returnStatus; },
};

constexpr IONVMeSMARTInterface nvmeTable = {
    .AddRef = [](void*) { return script().calls.emplace_back("commands +"), 2U; },
    .Release = [](void*) { return script().calls.emplace_back("commands -"), 1U; },
    .SMARTReadData = [](void*,
                        NVMeSMARTLog*) { return script().calls.emplace_back("read"), script().firstCommandStatus; },
    .GetIdentifyData = [](void*, NVMeControllerData*,
                          std::uint32_t) { return script().calls.emplace_back("identify"), std::int32_t{-1}; },
    .GetLogPage =
        [](void*, void*, std::uint32_t id, std::uint32_t length) {
            script().calls.push_back("log " + std::to_string(id) + ' ' + std::to_string(length));
            return script().logStatus;
        },
};

/// The text of the read, and then every call that it made.
template <typename Controller>
std::vector<std::string> read(system::PlugInHandle handle)
{
    system::setMessageSink([](std::string_view) {});
    const auto drive = Disk::create<Drive>(std::make_shared<system::DADisk>());
    script().calls.clear();
    std::string text;
    try {
        static_cast<void>(Controller().getSmartData(*drive, handle));
    } catch (const SmartError& error) {
        text = error.errorDescription();
    }
    std::vector<std::string> told = script().calls;
    told.insert(told.begin(), text);
    return told;
}

using Lines = std::vector<std::string>;

TEST(Teardown, LeavesAHandleThatCannotBeUsedAlone)
{
    const IOCFPlugInInterfaceStruct* noTable = nullptr;
    for (const system::PlugInHandle handle : {system::PlugInHandle(nullptr), system::PlugInHandle(&noTable)}) {
        EXPECT_EQ(read<ATASmartController>(handle), (Lines{"Unable to access plugin interface."}));
        EXPECT_EQ(read<NVMeSmartController>(handle), (Lines{"Unable to access plugin interface."}));
    }
}

TEST(Teardown, LetsTheCommandsGoThenThePlugInThenItsBaseInterface)
{
    const IOCFPlugInInterfaceStruct* base = &baseTable;
    const IOATASMARTInterface* ata = &ataTable;
    const IONVMeSMARTInterface* nvme = &nvmeTable;

    script().queryStatus = system::E_NOINTERFACE;
    const Lines unqueried = {"Unable to query plugin interface.", "base +", "query", "stop", "base -", "base -"};
    EXPECT_EQ(read<ATASmartController>(&base), unqueried);
    EXPECT_EQ(read<NVMeSmartController>(&base), unqueried);

    script().queryStatus = 0;
    const Lines unmade = {"Unable to create S.M.A.R.T interface.", "base +", "query", "stop", "base -", "base -"};
    EXPECT_EQ(read<ATASmartController>(&base), unmade);
    EXPECT_EQ(read<NVMeSmartController>(&base), unmade);

    script().commands = &ata;
    script().firstCommandStatus = -1;
    EXPECT_EQ(read<ATASmartController>(&base), (Lines{"Unable to enable operations.", "base +", "query", "commands +",
                                                      "enable", "commands -", "stop", "base -", "base -"}));
    script().commands = &nvme;
    EXPECT_EQ(read<NVMeSmartController>(&base),
              (Lines{"Unable to read S.M.A.R.T data.", "base +", "query", "commands +", "identify", "read",
                     "commands -", "stop", "base -", "base -"}));
}

TEST(Teardown, FollowsTheFortyLogPagesOfAnNvmeReadWhateverTheyGive)
{
    const IOCFPlugInInterfaceStruct* base = &baseTable;
    const IONVMeSMARTInterface* nvme = &nvmeTable;
    script().commands = &nvme;
    Lines expected = {"", "base +", "query", "commands +", "identify", "read"};
    for (int page = 0; page < 40; ++page)
        expected.push_back("log " + std::to_string(page) + " 64");
    expected.insert(expected.end(), {"commands -", "stop", "base -", "base -"});
    for (const std::int32_t status : {0, -1}) {
        script().queryStatus = script().firstCommandStatus = 0;
        script().logStatus = status;
        EXPECT_EQ(read<NVMeSmartController>(&base), expected);
    }
}

TEST(AtaReading, AsksTheDriveWhetherItIsFailing)
{
    const IOATASMARTInterface* ata = &ataTable;
    const auto interface = SmartInterface::create(&ata);
    EXPECT_EQ(ata::isFailing(*interface), true);
    script().returnStatus = -1;
    EXPECT_EQ(ata::isFailing(*interface), std::nullopt);
}

} // namespace
} // namespace vantorel
