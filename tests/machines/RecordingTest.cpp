// SPDX-License-Identifier: GPL-2.0-or-later
#include "vantorel/machines/recorded/Loading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

using namespace vantorel;
using namespace vantorel::recorded;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr const char* listing = R"(+-o Root  <class IORegistryEntry, id 0x1>
  +-o dev  <class IOAHCIBlockStorageDevice, id 0x2>
    | {
    |   "SMART Capable" = Yes
    | }
    +-o drv  <class IOBlockStorageDriver, id 0x3>
      +-o media  <class IOMedia, id 0x4>
          {
            "BSD Name" = "disk0"
            "Whole" = Yes
            "Size" = 100
          }
)";

/// A folder of a recorded machine, gone at the end of the test.
class MachineFolder {
public:
    explicit MachineFolder(const std::string& json)
    {
        std::filesystem::create_directories(path);
        write("ioreg.txt", listing);
        write("sector.bin", std::string(512, 'x'));
        if (!json.empty())
            write("machine.json", json);
    }
    ~MachineFolder() { std::filesystem::remove_all(path); }
    MachineFolder(const MachineFolder&) = delete;
    MachineFolder& operator=(const MachineFolder&) = delete;

    void write(const std::string& name, const std::string& text) const { std::ofstream(path / name) << text; }

    const std::filesystem::path path =
        std::filesystem::path(testing::TempDir()) / ("machine" + std::to_string(::getpid()));
};

std::vector<std::string> faultsOf(const std::string& json)
{
    const MachineFolder folder(json);
    std::vector<std::string> faults;
    for (const Fault& fault : loadRecording(folder.path).faults)
        faults.push_back(fault.text());
    return faults;
}

std::string refusal(const std::filesystem::path& path)
{
    try {
        (void)loadRecording(path);
    } catch (const RecordingError& error) {
        return error.what();
    }
    return "loaded";
}

} // namespace

TEST(Recording, IsAFolderAListingOrAMachineJson)
{
    const MachineFolder folder(R"({"listing": "ioreg.txt", "volumes": [{"disk": "disk0", "mountPoint": "/"}]})");
    EXPECT_EQ(loadRecording(folder.path).volumes.size(), 1U);
    EXPECT_EQ(loadRecording(folder.path / "machine.json").entries.size(), 4U);
    EXPECT_THAT(loadRecording(folder.path / "ioreg.txt").volumes, IsEmpty());
    folder.write("alone.json", R"({"registry": {"IORegistryEntryName": "Root", "IOObjectClass": "IORegistryEntry",
        "IORegistryEntryID": 9, "bytes": {"base64": "AQI="}}})");
    const Recording alone = loadRecording(folder.path / "alone.json");
    ASSERT_EQ(alone.entries.size(), 1U);
    EXPECT_EQ(alone.entries[0].properties.get<Data>("bytes"), (Data{1, 2}));

    EXPECT_EQ(refusal(folder.path / "none"), (folder.path / "none").string() + ": No such file or directory");
    folder.write("bad.json", "{\"volumes\": [}");
    EXPECT_THAT(refusal(folder.path / "bad.json"), HasSubstr("bad.json: parse error at line 1, column 14"));
    folder.write("bad.json", "[]");
    EXPECT_EQ(refusal(folder.path / "bad.json"), "bad.json: no JSON object");
    folder.write("bad.json", std::string(600, '['));
    EXPECT_EQ(refusal(folder.path / "bad.json"), "bad.json: nested too deeply");
    folder.write("bad.json", "{\"registry\": {}}" + std::string(1, '\0') + "what nobody sees");
    EXPECT_EQ(refusal(folder.path / "bad.json"), "bad.json: a NUL at byte 16");
    for (const char* const name : {"/etc/passwd", "../x", "", "none.txt"}) {
        folder.write("bad.json", R"({"listing": ")" + std::string(name) + R"("})");
        EXPECT_NE(refusal(folder.path / "bad.json"), "loaded") << name;
    }
}

TEST(Recording, HoldsVolumesDrivesAndEvents)
{
    const MachineFolder folder(R"({
      "volumes": [{"disk": "disk0", "kind": "hfs", "name": "HD", "uuid": "0F8A32DA-865C-43D8-A285-B099BA83CBBA",
                   "mountPoint": "/", "mountPoints": ["/Volumes/HD"], "size": 90, "free": 5, "writable": false}],
      "drives": [{"disk": "disk0", "ata": {"identify": "sector.bin", "data": {"base64": "AA=="}, "exceeded": true,
                  "logs": {"0x06": "sector.bin"}, "failures": {"thresholds": "kIOReturnTimeout", "log 6": "kIOReturnIOError"}}}],
      "events": [
        {"at": 2, "remove": "disk0"},
        {"at": 1, "change": "0x4", "properties": {"Size": 200, "Whole": null}},
        {"at": 1.5, "change": "disk0s1", "properties": {"Size": 50}},
        {"at": 0.5, "arrive": {"IORegistryEntryName": "p", "IOObjectClass": "IOMedia", "BSD Name": "disk0s1"}, "under": 4}
      ]})");
    const Recording recording = loadRecording(folder.path);
    for (const Fault& fault : recording.faults)
        EXPECT_EQ(fault.text(), "machine.json: drives[0].ata.data: 1 bytes, not 512");
    ASSERT_EQ(recording.volumes.size(), 1U);
    EXPECT_THAT(recording.volumes[0].facts.mountPoints, ElementsAre("/", "/Volumes/HD"));
    EXPECT_FALSE(recording.volumes[0].writable);

    ASSERT_TRUE(recording.drives.contains(2)) << "the capable entry above the disk";
    const RecordedDrive& drive = recording.drives.at(2);
    EXPECT_EQ(drive.identify->size(), 512U);
    EXPECT_EQ(drive.data, Data{0});
    EXPECT_EQ(drive.logs.at(6).size(), 512U);
    EXPECT_EQ(drive.failures.at("thresholds"), system::kIOReturnTimeout);

    ASSERT_EQ(recording.script.size(), 4U);
    const auto& arrival = std::get<RecordedStep::Arrival>(recording.script[0].what).entries.at(0);
    EXPECT_THAT(arrival.parents, ElementsAre(4));
    const auto& change = std::get<RecordedStep::Change>(recording.script[1].what);
    EXPECT_EQ(change.changes, (PropertyTable{{"Size", 200}, {"Whole", nullptr}}));
    EXPECT_EQ(std::get<RecordedStep::Change>(recording.script[2].what).entry, arrival.id);
    EXPECT_EQ(std::get<RecordedStep::Removal>(recording.script[3].what).entry, 4U);
}

TEST(Recording, NamesThePlaceOfEveryFault)
{
    EXPECT_THAT(
        faultsOf(
            R"({"volumes": [{"kind": "hfs"}, {"disk": "disk0", "uuid": "x", "mountPoint": "a", "size": 1, "free": 2, "name": 5}], "oops": 1})"),
        ElementsAre("machine.json: oops: nothing of this name is known here",
                    "machine.json: volumes[0]: a volume without \"disk\"", "machine.json: volumes[1].name: no text",
                    "machine.json: volumes[1].uuid: no UUID", "machine.json: volumes[1].mountPoint: no absolute path",
                    "machine.json: volumes[1].free: more than \"size\""));
    EXPECT_THAT(faultsOf(R"({"drives": [{"disk": "disk7", "ata": {}}, {"disk": "disk0", "nvme": {}}, {"disk": "disk0"},
                  {"disk": "disk0", "ata": {"data": "../x", "identify": "none", "logs": {"300": "sector.bin"},
                   "failures": {"dat": "kIOReturnIOError", "data": "kIOReturnSuccess"}}}, {"disk": "disk0", "ata": {}}]})"),
                ElementsAre("machine.json: drives[0].disk: no entry of this device name or id",
                            "machine.json: drives[1]: no entry above the disk is \"NVMe SMART Capable\"",
                            "machine.json: drives[2]: a drive with neither \"ata\" nor \"nvme\"",
                            "machine.json: drives[3].ata.identify: none: No such file or directory",
                            "machine.json: drives[3].ata.data: ../x: not a file of this machine",
                            "machine.json: drives[3].ata.logs.300: no log address from 0 to 255",
                            "machine.json: drives[3].ata.failures.dat: no command of this name",
                            "machine.json: drives[3].ata.failures.data: no status such as \"kIOReturnIOError\"",
                            "machine.json: drives[4]: a second drive for the same disk"));
    EXPECT_THAT(
        faultsOf(
            R"({"events": [{"remove": "disk0"}, {"at": -1}, {"at": 1}, {"at": 1, "change": "disk9"}, {"at": 1, "arrive": 5},
                  {"at": 1, "arrive": {"IORegistryEntryName": "x"}, "under": "disk9"},
                  {"at": 3, "arrive": {"IORegistryEntryName": "p", "IOObjectClass": "IOMedia", "BSD Name": "disk8"}, "under": 1},
                  {"at": 2, "change": "disk8", "properties": {}}], "volumes": {}})"),
        ElementsAre("machine.json: volumes: no array",
                    "machine.json: events[0]: an event without its time in seconds, \"at\"",
                    "machine.json: events[1]: an event without its time in seconds, \"at\"",
                    "machine.json: events[2]: an event of no kind: \"arrive\", \"change\", \"remove\" or \"volume\"",
                    "machine.json: events[3].properties: no object",
                    "machine.json: events[3].change: no entry of this device name or id",
                    "machine.json: events[4].arrive: no object",
                    "machine.json: events[4].arrive: an entry without name and class",
                    "machine.json: events[5].under: no entry of this device name or id",
                    "machine.json: events[7].change: no entry of this device name or id"))
        << "disk8 arrives later";
}

TEST(Recording, ReadsWholeNumbersHoweverTheyAreWritten)
{
    const MachineFolder folder(R"({"volumes": [{"disk": "a", "size": 7.0, "free": -0}, {"disk": "b", "size": 1e3},
        {"disk": "c", "size": 18446744073709551615, "free": 1.5}, {"disk": "d", "size": -1, "free": 1e20},
        {"disk": "e", "size": true, "writable": 1}], "drives": [{"disk": 4.0, "ata": {}}]})");
    const Recording recording = loadRecording(folder.path);
    std::vector<std::uint64_t> sizes;
    for (const RecordedVolume& volume : recording.volumes)
        sizes.insert(sizes.end(), {volume.size, volume.free});
    EXPECT_THAT(sizes, ElementsAre(7, 0, 1000, 0, UINT64_MAX, 0, 0, 0, 0, 0));
    EXPECT_EQ(recording.drives.size(), 1U);
    std::vector<std::string> faults;
    for (const Fault& fault : recording.faults)
        faults.push_back(fault.place + ": " + fault.fault.substr(0, 15));
    EXPECT_THAT(faults, ElementsAre("volumes[2].free: no whole number", "volumes[3].size: no whole number",
                                    "volumes[3].free: no whole number", "volumes[4].size: no whole number",
                                    "volumes[4].writable: neither true no"));
}

TEST(Recording, KnowsFailuresByTheNamesThatAnswersUse)
{
    const MachineFolder folder(R"({"registry": {"IORegistryEntryName": "a", "SMART Capable": true,
        "NVMe SMART Capable": true, "IORegistryEntryChildren": [{"IORegistryEntryName": "m", "BSD Name": "disk0"}]},
        "drives": [
          {"disk": "disk0", "ata": {"failures": {"log 0x6": "kIOReturnTimeout", "log 2": "kIOReturnNoDevice",
           "log 256": "kIOReturnTimeout", "log ": "kIOReturnTimeout", "errorLog": "kIOReturnTimeout"}}},
          {"disk": "disk0", "nvme": {"failures": {"log 2": "kIOReturnTimeout", "log": "kIOReturnNoDevice",
           "log 1": "kIOReturnNoDevice", "log 255": "kIOReturnTimeout", "data": "kIOReturnTimeout"}}}]})");
    Recording recording = loadRecording(folder.path);
    std::vector<std::string> faults;
    for (const Fault& fault : recording.faults)
        faults.push_back(fault.place);
    EXPECT_THAT(faults, ElementsAre("drives[0].ata.failures.errorLog", "drives[0].ata.failures.log ",
                                    "drives[0].ata.failures.log 256", "drives[1].nvme.failures.data",
                                    "drives[1].nvme.failures.log 2", "drives[1]"));
    using Failures = std::map<std::string, system::IOReturn, std::less<>>;
    ASSERT_EQ(recording.drives.size(), 1U);
    EXPECT_EQ(recording.drives.begin()->second.failures,
              (Failures{{"log 6", system::kIOReturnTimeout}, {"log 2", system::kIOReturnNoDevice}}));
}

TEST(Recording, OfTheSampleMachinesIsWithoutFault)
{
    for (const auto& [name, entries, volumes, drives] :
         std::vector<std::tuple<std::string, std::size_t, std::size_t, std::size_t>>{{"laptop", 39, 5, 1},
                                                                                     {"tower", 100, 7, 4}}) {
        const Recording recording = loadRecording(VANTOREL_SAMPLES "/machines/" + name);
        EXPECT_THAT(recording.faults, IsEmpty()) << name;
        EXPECT_EQ(recording.entries.size(), entries) << name;
        EXPECT_EQ(recording.volumes.size(), volumes) << name;
        EXPECT_EQ(recording.drives.size(), drives) << name;
    }
}
