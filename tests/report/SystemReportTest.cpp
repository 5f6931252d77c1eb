// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/report/SystemReport.h"

#include "machines/recorded/RegistryListing.h"
#include "report/RegistryDump.h"
#include "support/RegistryFixture.h"
#include "support/TestData.h"
#include "support/ThreadCount.h"
#include "system/CallGate.h"
#include "system/files/Process.h"
#include "system/registry/HandleTable.h"
#include "system/registry/RegistryTool.h"
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "vantorel/report/ReportReader.h"
#include "vantorel/smart/SmartController.h"
#include "vantorel/smart/Version.h"
#include "vantorel/system/IORegistry.h"
#include "vantorel/system/Installation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>

#include <poll.h>

namespace vantorel {
namespace {

using recorded::RecordedDrive;
using system::ToolOutput;
using testing::ElementsAre;
using testing::HasSubstr;

/// What a report's drive map holds.
std::vector<std::string> keysOf(const ReportDrive& drive)
{
    std::vector<std::string> keys;
    if (drive.smartData)
        keys.emplace_back("smartData");
    if (drive.thresholdsData)
        keys.emplace_back("thresholdsData");
    if (drive.processedSmart)
        keys.emplace_back("processedSmart");
    return keys;
}

/// Runs the main queue until `isDone`, for at most ten seconds.
template <typename IsDone>
void pumpUntil(IsDone isDone)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!isDone() && std::chrono::steady_clock::now() < deadline) {
        pollfd waiting{system::runLoopDescriptor(), POLLIN, 0};
        poll(&waiting, 1, 100);
        system::performPendingWork();
    }
}

class SystemReportTest : public test::RegistryFixture {
protected:
    /// A SATA disk and an NVMe drive that answer; a USB stick and a disk without a model that have no SMART; a disk
    /// that hangs until its time is over, and one that cannot be opened.
    static void installMachine()
    {
        test::DiskTree tree;
        recorded::Recording recording;
        const auto sata = tree.driver("AppleAHCI", "WDC WD5000AAKS-00TMA0", {{"Medium Type", "Rotational"}},
                                      {{"SMART Capable", true}});
        tree.media(sata, "disk0", "WDC Media");
        RecordedDrive ata;
        ata.identify = Data(512, 3);
        ata.exceeded = true;
        ata.data = test::readTestData("ata/wd-aaks/data.bin");
        ata.thresholds = test::readTestData("ata/wd-aaks/thresholds.bin");
        recording.drives.emplace(sata - 1, ata);

        const auto nvme = tree.driver("IONVMeController", "NVMe One", {{"Medium Type", "Solid State"}},
                                      {{"NVMe SMART Capable", true}}, "PCI-Express");
        tree.media(nvme, "disk1", "NVMe Media");
        RecordedDrive controller;
        controller.kind = RecordedDrive::Kind::nvme;
        controller.identify = test::readTestData("nvme/identify.bin");
        controller.logs.emplace(2, test::readTestData("nvme/smart.bin"));
        controller.logs.emplace(1, Data(4096, 7));
        recording.drives.emplace(nvme - 1, controller);

        tree.media(tree.driver("XHC1 USB3", "Stick", {}, {}, "USB"), "disk2", "Stick Media");
        tree.media(tree.driver("AppleAHCI", "", {{"Product Name", 5}}), "disk3", "Nameless");
        const auto hanging = tree.driver("AppleAHCI", "Hanging", {}, {{"SMART Capable", true}});
        tree.media(hanging, "disk4", "Hanging Media");
        ata.failures.emplace("thresholds", system::kIOReturnTimeout);
        recording.drives.emplace(hanging - 1, ata);
        const auto shut = tree.driver("AppleAHCI", "Shut", {}, {{"SMART Capable", true}});
        tree.media(shut, "disk5", "Shut Media");
        ata.failures.emplace("open", system::kIOReturnNotPrivileged);
        recording.drives.emplace(shut - 1, ata);
        recording.volumes = {{"disk2", {.kind = "msdos", .name = "STICK", .mountable = true}, 0, 0, true},
                             {"disk3", {.mountPoints = {"/", "/Volumes/HD"}}, 900, 70, false},
                             {"disk9", {.kind = "hfs", .mountPoints = {"/gone"}}, 1, 1, true}};
        recording.entries = std::move(tree.entries);
        system::install(std::make_unique<recorded::RecordedMachine>(std::move(recording), recorded::Playback::byHand));
        settle();
    }

    /// The report; absent when its completion was given none.
    static std::optional<Data> report()
    {
        int calls = 0;
        std::optional<Data> result;
        SystemReport::generate([&](std::optional<Data> bytes) {
            ++calls;
            result = std::move(bytes);
        });
        EXPECT_EQ(calls, 0) << "only the main queue completes a report";
        pumpUntil([&] { return calls > 0; });
        settle();
        EXPECT_EQ(calls, 1);
        return result;
    }
};

TEST_F(SystemReportTest, HoldsEveryDriveWithWhatCouldBeReadOfIt)
{
    installMachine();
    const ReportReader reader(report().value());
    EXPECT_EQ(reader.version(), reinterpret_cast<const char*>(VantorelVersionString));
    EXPECT_THAT(reader.unknownKeys(), testing::IsEmpty());
    ASSERT_EQ(reader.drives().size(), 6U);

    const ReportDrive& sata = reader.drives()[0];
    EXPECT_EQ(sata.bsdName, "disk0");
    EXPECT_EQ(sata.model, "WDC WD5000AAKS-00TMA0");
    EXPECT_EQ(sata.interface, "ahci");
    EXPECT_EQ(sata.kind, "hdd");
    EXPECT_EQ(sata.protocol, "sata");
    EXPECT_THAT(keysOf(sata), ElementsAre("smartData", "thresholdsData", "processedSmart"));
    EXPECT_EQ(sata.processedSmart->get<int>("Calculated Temperature"), 110) << "the normalised value, as a number";
    const auto result = SmartController::shared().processExtractedSmart(*sata.smartData, DataView(*sata.thresholdsData),
                                                                        false, false, *sata.model);
    const auto& values = result.value().as<ATASmartObject>()->smartValues;
    const PropertyArray* const stored = sata.processedSmart->lookUp("values")->array();
    ASSERT_EQ(stored->size(), values.size());
    EXPECT_EQ(stored->at(3).table()->get<std::string>("name"), values[3].name);
    EXPECT_EQ(stored->at(3).table()->get<int>("theshold"), values[3].theshold);
    EXPECT_EQ(stored->at(3).table()->size(), 10U);

    const ReportDrive& nvme = reader.drives()[1];
    EXPECT_EQ(nvme.interface, "nvme");
    EXPECT_THAT(keysOf(nvme), ElementsAre("smartData", "processedSmart"));
    EXPECT_EQ(nvme.smartData, test::readTestData("nvme/smart.bin"));
    EXPECT_THAT(nvme.processedSmart->get<std::string>("Calculated Temperature").value_or(""), HasSubstr("°C"));
    EXPECT_EQ(nvme.processedSmart->lookUp("values")->array()->size(), 14U);

    const ReportDrive& stick = reader.drives()[2];
    EXPECT_EQ(stick.interface, "usb 3");
    EXPECT_THAT(keysOf(stick), testing::IsEmpty());
    EXPECT_EQ(reader.drives()[3].model, std::nullopt) << "a null in the archive";
    EXPECT_EQ(reader.drives()[3].vendor, "Unknown");
    EXPECT_EQ(reader.drives()[4].model, "Hanging");
    EXPECT_THAT(keysOf(reader.drives()[4]), testing::IsEmpty());

    std::vector<recorded::Fault> faults;
    EXPECT_EQ(recorded::readListing(reader.expandedRegistry(), "ioreg", faults).size(), 25U) << "24 and the root";
}

TEST_F(SystemReportTest, TellsBesideTheDrivesWhereItWasMadeAndWhatIsMounted)
{
    installMachine();
    const std::time_t before = std::time(nullptr);
    const ReportReader reader(report().value());
    std::tm created{};
    const char* const end = strptime(reader.origin().created.value().c_str(), "%Y-%m-%dT%H:%M:%SZ", &created);
    EXPECT_EQ(end && *end == 0, true) << *reader.origin().created;
    EXPECT_THAT(timegm(&created), testing::AllOf(testing::Ge(before), testing::Le(std::time(nullptr))));
    EXPECT_EQ(reader.origin().system, "Linux");
    EXPECT_EQ(reader.origin().tool, reader.version());
    EXPECT_THAT(reader.origin().table.value(), HasSubstr("drivedb.h "));
    EXPECT_FALSE(reader.origin().kernel.value().empty() || reader.origin().architecture.value().empty());

    EXPECT_THAT(reader.volumes(),
                ElementsAre(ReportVolume{.disk = "disk3",
                                         .mountable = false,
                                         .mountPoints = {"/", "/Volumes/HD"},
                                         .size = 900,
                                         .free = 70,
                                         .writable = false},
                            ReportVolume{.disk = "disk2", .kind = "msdos", .name = "STICK", .mountable = true}))
        << "no volume without its disk";
}

TEST_F(SystemReportTest, TellsWhatCouldNotBeReadAndWhatDrivesSayBesideTheirHealth)
{
    installMachine();
    const ReportReader reader(report().value());
    const auto failure = [&](std::size_t drive) { return reader.drives()[drive].failure; };
    EXPECT_EQ(failure(4), (ReportedFailure{true, false, "Unable to get data tresholds."}));
    EXPECT_EQ(failure(5), (ReportedFailure{false, false, "Opening it was not permitted when it was recorded."}));
    EXPECT_EQ(failure(2), std::nullopt) << "it has no SMART";
    EXPECT_EQ(failure(0), std::nullopt);
    EXPECT_EQ(reader.listingFailure(), "");

    const ReportDrive& sata = reader.drives()[0];
    EXPECT_EQ(sata.identify, Data(512, 3));
    EXPECT_EQ(sata.failing, true);
    EXPECT_FALSE(sata.errorLog);
    const ReportDrive& nvme = reader.drives()[1];
    EXPECT_EQ(nvme.identify, test::readTestData("nvme/identify.bin"));
    EXPECT_EQ(nvme.errorLog, Data(64, 7)) << "as many entries as the controller keeps";
    EXPECT_EQ(nvme.failing, std::nullopt);
}

TEST_F(SystemReportTest, TakesTheReadingsOfItsHost)
{
    test::DiskTree tree;
    tree.media(tree.driver("AppleAHCI", "One", {}, {{"SMART Capable", true}}), "disk0", "One");
    tree.media(tree.driver("AppleAHCI", "Two", {}, {}), "disk1", "Two");
    const auto three = tree.driver("AppleAHCI", "Three", {}, {{"SMART Capable", true}});
    tree.media(three, "disk2", "Three");
    load(std::move(tree)).obstacles[three - 1] = {system::kIOReturnNotReady, "It sleeps.", ""};
    std::optional<Data> bytes;
    SystemReportOptions options;
    options.read = [](const Drive& drive) {
        if (drive.bsdName() == "disk2")
            throw SmartOpenError("not told");
        ATASmartObject result;
        result.rawData = Data(512, 9);
        return DriveReading{result, Data(4, 4), false};
    };
    SystemReport::generate([&](std::optional<Data> report) { bytes = std::move(report); }, options);
    pumpUntil([&] { return bytes.has_value(); });
    const ReportReader reader(bytes.value());
    EXPECT_EQ(reader.drives()[0].smartData, Data(512, 9));
    EXPECT_EQ(reader.drives()[0].identify, Data(4, 4));
    EXPECT_EQ(reader.drives()[0].failing, false);
    EXPECT_FALSE(reader.drives()[1].smartData) << "no SMART, not read";
    EXPECT_EQ(reader.drives()[2].failure, (ReportedFailure{false, true, "It sleeps."}));
}

TEST_F(SystemReportTest, AListingThatTakesTooLongIsLeftOutAndTold)
{
    test::TestMachine::install();
    settle();
    system::provideTool(system::registryToolPath, [](const std::vector<std::string>&, ToolOutput& output) {
        while (output.write({}))
            std::this_thread::yield();
    });
    std::optional<Data> bytes;
    std::string fault;
    SystemReportOptions options;
    options.onFault = [&](const std::string& why) { fault = why; };
    options.listingTime = std::chrono::milliseconds(50);
    SystemReport::generate([&](std::optional<Data> report) { bytes = std::move(report); }, options);
    pumpUntil([&] { return bytes.has_value(); });
    EXPECT_EQ(fault, "the listing of the registry took longer than 0 s");
    EXPECT_EQ(ReportReader(bytes.value()).listingFailure(), fault);
    EXPECT_EQ(ReportReader(*bytes).expandedRegistry(), Data());
}

TEST_F(SystemReportTest, OverlappingCallsAllComplete)
{
    test::TestMachine::install();
    settle();
    std::vector<int> completed;
    for (int i = 0; i < 3; ++i) {
        SystemReport::generate([&completed, i](const std::optional<Data>& bytes) {
            EXPECT_THAT(ReportReader(bytes.value()).drives(), testing::IsEmpty());
            completed.push_back(i);
        });
    }
    pumpUntil([&] { return completed.size() == 3; });
    EXPECT_THAT(completed, ElementsAre(0, 1, 2));
}

TEST_F(SystemReportTest, WithoutAVersionItEndsBeforeAnythingElseHappens)
{
    installMachine();
    std::atomic<int> launches = 0;
    system::provideTool(system::registryToolPath, [&](const std::vector<std::string>&, ToolOutput&) { ++launches; });
    for (const bool isVersionMissing : {true, false}) {
        std::string calls;
        system::setCallGate([&](std::string_view operation) {
            calls.append(operation);
            return !isVersionMissing || operation != "bundleWithIdentifier:";
        });
        std::optional<bool> hadReport;
        SystemReport::generate([&](const std::optional<Data>& bytes) { hadReport = bytes.has_value(); });
        system::setCallGate(nullptr);
        EXPECT_EQ(hadReport.has_value(), isVersionMissing) << "at once, or not yet";
        EXPECT_EQ(calls == "bundleWithIdentifier:", isVersionMissing) << calls;
        pumpUntil([&] { return hadReport.has_value(); });
        EXPECT_EQ(hadReport, !isVersionMissing);
    }
    EXPECT_EQ(launches, 1);
}

TEST_F(SystemReportTest, AnEmptyListingIsAnEmptyGzipStreamAndAMissingToolNoReport)
{
    installMachine();
    system::provideTool(system::registryToolPath, [](const std::vector<std::string>& arguments, ToolOutput&) {
        EXPECT_THAT(arguments, ElementsAre("-l", "-w0", "-a"));
        throw std::runtime_error("a tool that fails");
    });
    const ReportReader reader(report().value());
    EXPECT_FALSE(reader.ioreg().value().empty());
    EXPECT_THAT(reader.expandedRegistry(), testing::IsEmpty());

    system::provideTool(system::registryToolPath, nullptr);
    EXPECT_EQ(report(), std::nullopt);
    std::string fault;
    bool isDone = false;
    SystemReportOptions options;
    options.onFault = [&](const std::string& why) { fault = why; };
    SystemReport::generate([&](const std::optional<Data>&) { isDone = true; }, options);
    pumpUntil([&] { return isDone; });
    EXPECT_EQ(fault, "/usr/sbin/ioreg: No such file or directory");
}

std::size_t count(const char* folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST_F(SystemReportTest, AToolThatFloodsIsStoppedAndLeavesNothingBehind)
{
    const std::size_t threads = test::threadCountAtFirst();
    const std::size_t descriptors = count("/proc/self/fd");
    system::provideTool(system::registryToolPath, [](const std::vector<std::string>&, ToolOutput& output) {
        const Data noise = test::readTestData("ata/wd-aaks/data.bin");
        while (output.write(noise)) {
        }
    });
    using std::chrono::milliseconds;
    const auto dump = [](const system::FileHandle::Bounds& bounds) { return report::registryDump(bounds).fault; };
    EXPECT_EQ(dump({milliseconds(200)}), "the listing of the registry took longer than 0 s");
    EXPECT_EQ(dump({milliseconds(10'000), 20'000}), "the listing of the registry is larger than 20000 bytes");

    system::provideTool(system::registryToolPath, [](const std::vector<std::string>&, ToolOutput& output) {
        while (output.write({})) // neither ends nor writes
            std::this_thread::yield();
    });
    EXPECT_NE(dump({milliseconds(200)}), "") << "blocked";
    EXPECT_EQ(count("/proc/self/fd"), descriptors);
    EXPECT_EQ(test::threadCount(threads), threads);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
}

TEST_F(SystemReportTest, KnowsThePlatformsUuid)
{
    const std::pair<PropertyTable, std::optional<std::string>> cases[] = {
        {{{"IOPlatformUUID", "01234567-89AB-CDEF-0123-456789ABCDEF"}}, "01234567-89AB-CDEF-0123-456789ABCDEF"},
        {{{"IOPlatformUUID", Data{1, 2}}}, std::nullopt},
        {{}, std::nullopt},
    };
    EXPECT_EQ(SystemReport::getSystemUUID(), std::nullopt);
    for (const auto& [properties, uuid] : cases) {
        test::TestMachine::install({{1, "Mac", "", "IOPlatformExpertDevice", {}, {}, properties}});
        settle();
        const std::size_t handles = system::liveHandleCount();
        EXPECT_EQ(SystemReport::getSystemUUID(), uuid);
        EXPECT_EQ(system::liveHandleCount(), handles);
    }
}

} // namespace
} // namespace vantorel
