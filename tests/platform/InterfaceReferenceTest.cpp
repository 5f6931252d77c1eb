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

// The slots whose types would let one be taken for another.
TEST_F(InterfaceReferences, CallTheSlotOfTheirNameWithTheHandle)
{
    static void* self;
    static const auto note = [](void* handle, const std::string& text) {
        EXPECT_EQ(handle, self);
        calls().push_back(text);
        return static_cast<std::int32_t>(calls().size());
    };
    auto ata = countingTable<IOATASMARTInterface>();
    ata.SMARTEnableDisableOperations = [](void* h, PlugInBoolean on) { return note(h, "on " + std::to_string(on)); };
    ata.SMARTEnableDisableAutosave = [](void* h, PlugInBoolean on) { return note(h, "save " + std::to_string(on)); };
    ata.SMARTExecuteOffLineImmediate = [](void* h, PlugInBoolean on) { return note(h, "test " + std::to_string(on)); };
    ata.SMARTReadData = [](void* h, ATASMARTData* to) { return to->checksum = 9, note(h, "data"); };
    ata.SMARTValidateReadData = [](void* h, const ATASMARTData* of) {
        return note(h, "valid " + std::to_string(of->checksum));
    };
    ata.SMARTReadLogAtAddress = [](void* h, std::uint32_t at, void*, std::uint32_t size) {
        return note(h, "log " + std::to_string(at) + ' ' + std::to_string(size));
    };
    ata.GetATAIdentifyData = [](void* h, void*, std::uint32_t size, std::uint32_t* to) {
        return note(h, "identify " + std::to_string(size) + (to ? "" : " -"));
    };
    const IOATASMARTInterface* place = &ata;
    self = &place;
    const auto smart = SmartInterface::create(&place);
    ATASMARTData data{};
    EXPECT_EQ(smart->SMARTEnableDisableOperations(true), 2);
    EXPECT_EQ(smart->SMARTEnableDisableAutosave(false), 3);
    EXPECT_EQ(smart->SMARTExecuteOffLineImmediate(true), 4);
    EXPECT_EQ(smart->SMARTReadData(&data), 5);
    EXPECT_EQ(smart->SMARTValidateReadData(&data), 6);
    EXPECT_EQ(smart->SMARTReadLogAtAddress(6, nullptr, 512), 7);
    EXPECT_EQ(smart->GetATAIdentifyData(nullptr, 512, nullptr), 8);
    EXPECT_EQ(calls(), (std::vector<std::string>{"AddRef", "on 1", "save 0", "test 1", "data", "valid 9", "log 6 512",
                                                 "identify 512 -"}));

    calls().clear();
    auto nvme = countingTable<IONVMeSMARTInterface>();
    nvme.GetLogPage = [](void* h, void*, std::uint32_t id, std::uint32_t length) {
        return note(h, "log " + std::to_string(id) + ' ' + std::to_string(length));
    };
    nvme.GetSystemCounters = [](void* h, std::int8_t*, std::uint32_t*) { return note(h, "system"); };
    nvme.GetAlgorithmCounters = [](void* h, std::int8_t*, std::uint32_t*) { return note(h, "algorithm"); };
    const IONVMeSMARTInterface* nvmePlace = &nvme;
    self = &nvmePlace;
    const auto log = NVMeSmartInterface::create(&nvmePlace);
    EXPECT_EQ(log->GetLogPage(nullptr, 39, 64), 2);
    EXPECT_EQ(log->GetSystemCounters(nullptr, nullptr), 3);
    EXPECT_EQ(log->GetAlgorithmCounters(nullptr, nullptr), 4);
    EXPECT_EQ(calls(), (std::vector<std::string>{"AddRef", "log 39 64", "system", "algorithm"}));
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
