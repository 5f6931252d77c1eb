// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/platform/IOConstants.h"
#include "vantorel/platform/NVMeSmartInterface.h"
#include "vantorel/platform/PlugInInterface.h"
#include "vantorel/platform/SmartInterface.h"
#include "vantorel/system/MessageSink.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vantorel {
namespace {

/// What was called, in order; a slot notes its name and its arguments.
std::vector<std::string>& calls()
{
    static std::vector<std::string> the;
    return the;
}

template <typename Table>
Table countingTable()
{
    Table table{};
    table.version = 3;
    table.revision = 5;
    table.AddRef = [](void*) { return static_cast<std::uint32_t>(calls().emplace_back("AddRef").size()); };
    table.Release = [](void*) { return static_cast<std::uint32_t>(calls().emplace_back("Release").size()); };
    return table;
}

class InterfaceReferences : public testing::Test {
protected:
    InterfaceReferences()
    {
        calls().clear();
        system::setMessageSink([this](std::string_view line) { messages.emplace_back(line); });
    }
    ~InterfaceReferences() override { system::setMessageSink(nullptr); }
    InterfaceReferences(const InterfaceReferences&) = delete;
    InterfaceReferences& operator=(const InterfaceReferences&) = delete;

    std::vector<std::string> messages;
};

template <typename Interface>
void expectNoneWithoutATable()
{
    typename Interface::Handle none = nullptr;
    EXPECT_FALSE(Interface::create(none));
    std::remove_pointer_t<typename Interface::Handle> table = nullptr;
    EXPECT_FALSE(Interface::create(&table));
}

TEST_F(InterfaceReferences, NeedAHandleAndATable)
{
    expectNoneWithoutATable<PlugInInterface>();
    EXPECT_TRUE(messages.empty());
    expectNoneWithoutATable<SmartInterface>();
    expectNoneWithoutATable<NVMeSmartInterface>();
    EXPECT_EQ(messages, (std::vector<std::string>{
                            "Unable to access plugin interface", "Unable to access plugin interface pointee",
                            "Unable to access plugin interface", "Unable to access plugin interface pointee"}));
    EXPECT_TRUE(calls().empty());
}

TEST_F(InterfaceReferences, AddOneReferenceAndGiveItBackOnce)
{
    const auto table = countingTable<IOATASMARTInterface>();
    const IOATASMARTInterface* place = &table;
    {
        auto first = SmartInterface::create(&place);
        ASSERT_TRUE(first);
        EXPECT_EQ(first->version(), 3);
        EXPECT_EQ(first->revision(), 5);
        const SmartInterface second = std::move(*first);
        EXPECT_EQ(second.version(), 3);
        // A slot left empty is not called.
        EXPECT_EQ(second.SMARTReadData(nullptr), system::kIOReturnUnsupported);
    }
    EXPECT_EQ(calls(), (std::vector<std::string>{"AddRef", "Release"}));
}

TEST_F(InterfaceReferences, CallTheSlotOfEachOperation)
{
    static void* self;
    static const auto note = [](void* handle, std::string text, std::int32_t status) {
        EXPECT_EQ(handle, self);
        calls().push_back(std::move(text));
        return status;
    };
    auto ata = countingTable<IOATASMARTInterface>();
    ata.QueryInterface = [](void* h, CFUUIDBytes id, void**) {
        return note(h, "query " + std::to_string(id.bytes[0]), 1);
    };
    ata.SMARTEnableDisableOperations = [](void* h, PlugInBoolean on) { return note(h, "on " + std::to_string(on), 2); };
    ata.SMARTEnableDisableAutosave = [](void* h, PlugInBoolean on) { return note(h, "save " + std::to_string(on), 3); };
    ata.SMARTReturnStatus = [](void* h, PlugInBoolean* to) { return *to = 1, note(h, "status", 4); };
    ata.SMARTExecuteOffLineImmediate = [](void* h, PlugInBoolean on) {
        return note(h, "test " + std::to_string(on), 5);
    };
    ata.SMARTReadData = [](void* h, ATASMARTData* to) { return to->checksum = 9, note(h, "data", 6); };
    ata.SMARTValidateReadData = [](void* h, const ATASMARTData* of) {
        return note(h, "valid " + std::to_string(of->checksum), 7);
    };
    ata.SMARTReadDataThresholds = [](void* h, ATASMARTDataThresholds*) { return note(h, "thresholds", 8); };
    ata.SMARTReadLogDirectory = [](void* h, ATASMARTLogDirectory*) { return note(h, "directory", 9); };
    ata.SMARTReadLogAtAddress = [](void* h, std::uint32_t at, void*, std::uint32_t size) {
        return note(h, "log " + std::to_string(at) + ' ' + std::to_string(size), 10);
    };
    ata.GetATAIdentifyData = [](void* h, void*, std::uint32_t size, std::uint32_t* to) {
        return note(h, "identify " + std::to_string(size) + (to ? "" : " -"), 11);
    };
    const IOATASMARTInterface* place = &ata;
    self = &place;
    const auto smart = SmartInterface::create(&place);
    ATASMARTData data{};
    PlugInBoolean exceeded = 0;
    void* found = nullptr;
    const std::int32_t statuses[] = {
        smart->queryInterface(system::CFUUIDGetUUIDBytes(kIOATASMARTInterfaceID), &found),
        smart->SMARTEnableDisableOperations(true),
        smart->SMARTEnableDisableAutosave(false),
        smart->SMARTReturnStatus(&exceeded),
        smart->SMARTExecuteOffLineImmediate(true),
        smart->SMARTReadData(&data),
        smart->SMARTValidateReadData(&data),
        smart->SMARTReadDataThresholds(nullptr),
        smart->SMARTReadLogDirectory(nullptr),
        smart->SMARTReadLogAtAddress(6, nullptr, 512),
        smart->GetATAIdentifyData(nullptr, 512, nullptr),
    };
    for (std::int32_t i = 0; i < 11; ++i)
        EXPECT_EQ(statuses[i], i + 1);
    EXPECT_EQ(calls(), (std::vector<std::string>{"AddRef", "query 8", "on 1", "save 0", "status", "test 1", "data",
                                                 "valid 9", "thresholds", "directory", "log 6 512", "identify 512 -"}));
    EXPECT_EQ(exceeded, 1);

    calls().clear();
    auto nvme = countingTable<IONVMeSMARTInterface>();
    nvme.SMARTReadData = [](void* h, NVMeSMARTLog*) { return note(h, "data", 1); };
    nvme.GetIdentifyData = [](void* h, NVMeControllerData*, std::uint32_t x) {
        return note(h, "identify " + std::to_string(x), 2);
    };
    nvme.GetFieldCounters = [](void* h, std::int8_t*) { return note(h, "field", 3); };
    nvme.ScheduleBGRefresh = [](void* h) { return note(h, "refresh", 4); };
    nvme.GetLogPage = [](void* h, void*, std::uint32_t id, std::uint32_t length) {
        return note(h, "log " + std::to_string(id) + ' ' + std::to_string(length), 5);
    };
    nvme.GetSystemCounters = [](void* h, std::int8_t*, std::uint32_t*) { return note(h, "system", 6); };
    nvme.GetAlgorithmCounters = [](void* h, std::int8_t*, std::uint32_t*) { return note(h, "algorithm", 7); };
    const IONVMeSMARTInterface* nvmePlace = &nvme;
    self = &nvmePlace;
    const auto log = NVMeSmartInterface::create(&nvmePlace);
    EXPECT_EQ(log->SMARTReadData(nullptr), 1);
    EXPECT_EQ(log->GetIdentifyData(nullptr, 12), 2);
    EXPECT_EQ(log->GetFieldCounters(nullptr), 3);
    EXPECT_EQ(log->ScheduleBGRefresh(), 4);
    EXPECT_EQ(log->GetLogPage(nullptr, 39, 64), 5);
    EXPECT_EQ(log->GetSystemCounters(nullptr, nullptr), 6);
    EXPECT_EQ(log->GetAlgorithmCounters(nullptr, nullptr), 7);
    EXPECT_EQ(calls(), (std::vector<std::string>{"AddRef", "data", "identify 12", "field", "refresh", "log 39 64",
                                                 "system", "algorithm"}));
}

TEST(IOConstants, AskForTheNvmeTableByTheIdOfTheBaseInterface)
{
    EXPECT_EQ(kIONVMeSMARTInterfaceID, kIOCFPlugInInterfaceID);
    EXPECT_EQ(kIOATASMARTUserClientTypeID.text(), "24514B7A-2804-11D6-8A02-003065704866");
    EXPECT_EQ(kIONVMeSMARTUserClientTypeID.text(), "AA0FA6F9-C2D6-457F-B10B-59A13253292F");
    EXPECT_EQ(kIOATASMARTInterfaceID.text(), "08ABE21C-20D4-11D6-8DF6-0003935A76B2");
    EXPECT_EQ(kIOCFPlugInInterfaceID.text(), "C244E858-109C-11D4-91D4-0050E4C6426F");
}

} // namespace
} // namespace vantorel
