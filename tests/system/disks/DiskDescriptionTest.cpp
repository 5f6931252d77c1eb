// SPDX-License-Identifier: GPL-2.0-or-later
#include "support/TestEntries.h"
#include "support/TestMachine.h"
#include "vantorel/system/DiskArbitration.h"

#include <gtest/gtest.h>

using namespace vantorel;
using namespace vantorel::system;
using test::entry;
using test::media;
using test::TestMachine;

namespace {

/// The description of the disk mounted at "/", which is how a test gets at one disk.
PropertyTableRef describe(TestMachine& machine, const std::string& bsdName)
{
    machine.fileSystems["/"] = {bsdName, "/", 1000, 10, true};
    const DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    return DADiskCopyDescription(DADiskCreateFromVolumePath(kCFAllocatorDefault, session, "/"));
}

/// The chain above an internal SATA disk, as on a real machine.
std::vector<RegistryEntry> sataMachine()
{
    const PropertyTable device{
        {"Device Characteristics", PropertyTable{{"Product Name", "FUJITSU MJA2160BH  "},
                                                 {"Product Revision Level", "0081001D"},
                                                 {"Vendor Name", 7}}},
        {"Protocol Characteristics",
         PropertyTable{{"Physical Interconnect", "SATA"}, {"Physical Interconnect Location", "Internal"}}},
        {"IOUnit", 3}};
    return {
        entry(1, "Root", "IORegistryEntry", {}),
        entry(2, "MacBookPro5,1", "IOPlatformExpertDevice", {1}),
        entry(3, "AppleACPIPlatformExpert", "AppleACPIPlatformExpert", {2}),
        entry(4, "SATA", "IOPCIDevice", {3}, {}, "B"),
        entry(5, "IOAHCIBlockStorageDevice", "IOAHCIBlockStorageDevice", {4}, device),
        entry(6, "IOBlockStorageDriver", "IOBlockStorageDriver", {5}),
        media(7, "disk0", true, 6,
              {{"IOMediaIcon", PropertyTable{{"CFBundleIdentifier", "com.apple.iokit.IOStorageFamily"},
                                             {"IOBundleResourceFile", "Internal.icns"}}},
               {"Content", "GUID_partition_scheme"}}),
        media(8, "disk0s2", false, 7,
              {{"BSD Minor", 2},
               {"Size", 159697911808},
               {"Content", "48465300-0000-11AA-AA11-00306543ECAC"},
               {"UUID", "0f8a32da-865c-43d8-a285-b099ba83cbba"},
               {"Removable", true}}),
    };
}

} // namespace

TEST(DiskDescription, TellsAVolumeAsThePlatformDoesAndInTheSpellingsOfTheLibrary)
{
    TestMachine& machine = TestMachine::install(sataMachine());
    machine.setVolume("disk0s2", {"hfs", "Macintosh HD", base::Uuid{{1}}, true, {"/Volumes/Mac HD"}});
    const PropertyTableRef description = describe(machine, "disk0s2");
    ASSERT_TRUE(description);

    const PropertyTable expected{
        {"DAMediaBSDName", "disk0s2"},
        {"DAMediaBSDUnit", 0},
        {"DAMediaBSDMajor", 1},
        {"DAMediaBSDMinor", 2},
        {"DAMediaName", "disk0s2 media"},
        {"DAMediaSize", 159697911808},
        {"DAMediaWhole", false},
        {"DAMediaLeaf", true},
        {"DAMediaKind", "IOMedia"},
        {"DAMediaUUID", *base::Uuid::parse("0F8A32DA-865C-43D8-A285-B099BA83CBBA")},
        {"DAMediaIcon", PropertyTable{{"CFBundleIdentifier", "com.apple.iokit.IOStorageFamily"},
                                      {"IOBundleResourceFile", "Internal.icns"}}},
        {"DAMediaPath", "IOService:/AppleACPIPlatformExpert/SATA@B/IOAHCIBlockStorageDevice/IOBlockStorageDriver/"
                        "disk0 media/disk0s2 media"},
        {"DADevicePath", "IOService:/AppleACPIPlatformExpert/SATA@B/IOAHCIBlockStorageDevice"},
        {"DADeviceModel", "FUJITSU MJA2160BH  "},
        {"DADeviceRevision", "0081001D"},
        {"DADeviceProtocol", "SATA"},
        {"DADeviceInternal", true},
        {"DADeviceUnit", 3},
        {"DAVolumeKind", "hfs"},
        {"DAVolumeName", "Macintosh HD"},
        {"DAVolumeUUID", base::Uuid{{1}}},
        {"DAVolumePath", "file:///Volumes/Mac%20HD/"},
        // The same facts under two spellings.
        {"DAMediaContent", "48465300-0000-11AA-AA11-00306543ECAC"},
        {"DADeviceContent", "48465300-0000-11AA-AA11-00306543ECAC"},
        {"DAMediaRemovable", true},
        {"DADeviceRemovable", true},
        {"DAMediaEjectable", false},
        {"DADeviceEjectable", false},
        {"DAMediaWritable", true},
        {"DADeviceWritable", true},
        {"DAMediaBlockSize", 4096},
        {"DADeviceBlockSize", 4096},
        {"DAVolumeMountable", true},
        {"DADeviceMountable", true},
        {"DAVolumeNetwork", false},
        {"DADeviceNetwork", false},
    };
    EXPECT_EQ(PropertyValue(*description), PropertyValue(expected));
}

TEST(DiskDescription, LeavesOutWhatIsNotKnownOrOfAnotherType)
{
    std::vector<RegistryEntry> entries = sataMachine();
    entries[4].properties = {{"Protocol Characteristics", PropertyTable{{"Physical Interconnect", "Virtual Interface"},
                                                                        {"Physical Interconnect Location", "File"}}}};
    entries[6].properties = {{"BSD Name", "disk0"}, {"BSD Unit", "0"}, {"Whole", 1},
                             {"UUID", "no UUID"},   {"Size", -5},      {"Content", Data{1}}};
    TestMachine& machine = TestMachine::install(std::move(entries));
    const PropertyTableRef description = describe(machine, "disk0");
    ASSERT_TRUE(description);
    for (const char* const key :
         {"DADeviceInternal", "DADeviceModel", "DADeviceUnit", "DAMediaBSDUnit", "DAMediaWhole", "DAMediaUUID",
          "DAMediaContent", "DADeviceContent", "DAVolumeKind", "DAVolumeMountable", "DADeviceMountable", "DAMediaIcon"})
        EXPECT_FALSE(description->contains(key)) << key;
    EXPECT_EQ(description->get<std::string>("DADeviceProtocol"), "Virtual Interface");
    EXPECT_EQ(description->get<std::int64_t>("DAMediaSize"), -5);
}

TEST(DiskDescription, KnowsMediaAndDevicesByTheirClass)
{
    struct Row {
        const char* media;
        const char* device;
        const char* driver;
        const char* kind; ///< nothing where there is no disk
    };
    for (const Row& row : std::vector<Row>{
             {"IOMedia", "IOEmbeddedNVMeBlockDevice", "IOService", "IOMedia"},
             {"AppleAPFSVolume", "IOBlockStorageServices", "IOService", "IOMedia"},
             {"CoreStorageLogical", "SomebodysOwnDevice", "IOBlockStorageDriver", "IOMedia"},
             {"IODVDMedia", "IODVDServices", "IODVDBlockStorageDriver", "IODVDMedia"},
             {"MediaOfTomorrow", "IOBlockStorageServices", "IOService", "IOMedia"},
             {"IOMedia", "IOPCIDevice", "IOService", nullptr},
         }) {
        TestMachine& machine = TestMachine::install(
            {entry(1, "device", row.device, {}), entry(2, "driver", row.driver, {1}), media(3, "disk0", true, 2)});
        machine.arrive([&] {
            RegistryEntry other = media(4, "disk1", true, 2);
            other.className = row.media;
            return other;
        }());
        const PropertyTableRef description = describe(machine, "disk1");
        const std::string what = std::string(row.media) + " on " + row.device;
        EXPECT_EQ(static_cast<bool>(description), row.kind != nullptr) << what;
        if (description && row.kind) {
            EXPECT_EQ(description->get<std::string>("DAMediaKind"), row.kind) << what;
        }
    }
    // A network interface has a device name too.
    TestMachine& machine = TestMachine::install(test::drive(1, "disk0"));
    machine.arrive(entry(9, "en0", "IOEthernetInterface", {1}, {{"BSD Name", "en0"}}));
    EXPECT_FALSE(describe(machine, "en0"));
}

TEST(DiskDescription, FindsTheDiskOfAMountedVolume)
{
    TestMachine& machine = TestMachine::install(test::drive(1, "disk0"));
    machine.fileSystems = {{"/", {"disk0", "/", 9, 1, true}},
                           {"/Users", {"disk0", "/", 9, 1, true}},
                           {"/net", {"", "/net", 9, 1, true}},
                           {"/old", {"disk9", "/old", 9, 1, true}}};
    const DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    const auto at = [&](const char* path) { return DADiskCreateFromVolumePath(nullptr, session, path); };
    EXPECT_EQ(DADiskGetBSDName(at("/")), "disk0");
    EXPECT_EQ(at("/Users"), nullptr) << "a folder of a volume";
    EXPECT_EQ(at("/old"), nullptr) << "a device that the service does not know";
    EXPECT_EQ(at("/none"), nullptr);
    ASSERT_NE(at("/net"), nullptr);
    EXPECT_EQ(DADiskGetBSDName(at("/net")), std::nullopt);
    EXPECT_EQ(DADiskCopyDescription(at("/net")), nullptr);
    EXPECT_EQ(DADiskCreateFromVolumePath(nullptr, nullptr, "/"), nullptr);
}
