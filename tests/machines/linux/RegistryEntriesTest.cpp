// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/linux/RegistryEntries.h"

#include "SampleComputer.h"
#include "machines/linux/BlockScan.h"
#include "support/TestData.h"
#include "system/propertylist/PropertyList.h"

#include <gtest/gtest.h>

#include <fstream>

namespace vantorel::machines {
namespace {

/// A computer with a drive of every road, partitions, a mirror, logical volumes on an encrypted one, and an image.
void addEverything(const test::FakeSysfs& sysfs)
{
    addHardDisk(sysfs);
    addOtherDrives(sysfs);
    for (const auto& [file, text] :
         {std::pair("sys_vendor", "ACME"), std::pair("product_name", "Anvil 5"), std::pair("product_serial", "SN-1"),
          std::pair("product_uuid", "4c4c4544-0038-3510-8052-b4c04f4e3732")})
        sysfs.write(std::string("sys/class/dmi/id/") + file, text);
    const std::string nvme = "pci0000:00/0000:00:04.0/nvme/nvme0/nvme0n1";
    const auto member = [&](const std::string& path, int minor, const char* uuid) {
        sysfs.block(path, 259, minor, 12, 4096,
                    "DEVTYPE=partition\nID_FS_TYPE=linux_raid_member\nID_FS_UUID=6d1e8f0a-1111-2222-3333-444455556666\n"
                    "ID_FS_UUID_SUB=" +
                        std::string(uuid) + '\n',
                    {{"partition", std::to_string(minor)}, {"start", std::to_string(64 * minor)}});
    };
    member(nvme + "/nvme0n1p1", 1, "aaaaaaaa-0000-0000-0000-000000000001");
    member(nvme + "/nvme0n1p2", 2, "aaaaaaaa-0000-0000-0000-000000000002");
    sysfs.block("virtual/block/md0", 9, 0, 40, 4000, "MD_DEVNAME=home\n",
                {{"md/level", "raid1\n"},
                 {"md/array_state", "clean\n"},
                 {"md/raid_disks", "2\n"},
                 {"md/degraded", "1\n"},
                 {"md/dev-nvme0n1p1/slot", "0\n"},
                 {"md/dev-nvme0n1p1/state", "in_sync\n"},
                 {"md/dev-nvme0n1p2/slot", "1\n"},
                 {"md/dev-nvme0n1p2/state", "faulty\n"}});
    addVolumesInLayers(sysfs);
}

/// The entries as a property list, in their order.
std::string textOf(const std::vector<KeyedEntry>& entries)
{
    PropertyArray list;
    for (const KeyedEntry& entry : entries)
        list.emplace_back(PropertyTable{{"key", entry.key},
                                        {"parents", PropertyArray(entry.parents.begin(), entry.parents.end())},
                                        {"name", entry.name},
                                        {"location", entry.location},
                                        {"class", entry.className},
                                        {"properties", entry.properties},
                                        {"disk", entry.disk},
                                        {"counts", entry.counts}});
    return system::writeXmlPropertyList(PropertyValue(std::move(list)));
}

/// When a change is meant, the file that the failure names takes the place of tests/data/linux/registry.plist.
TEST(RegistryEntries, OfAComputerWithEverythingAreTheseToTheLetter)
{
    const test::FakeSysfs sysfs;
    addEverything(sysfs);
    const SystemScan scan = scanSystem({.sysfs = sysfs.sysfs(), .etc = sysfs.path("etc")});
    const std::string text = textOf(registryEntries(scan, [](const BlockDevice& disk) {
        return disk.hardware->nvme ? Commands::nvme : disk.hardware->isAta ? Commands::ata : Commands::none;
    }));
    const Data expected = test::readTestData("linux/registry.plist");
    if (text == std::string(expected.begin(), expected.end()))
        return;
    const std::string seen = testing::TempDir() + "registry.plist";
    std::ofstream(seen) << text;
    ADD_FAILURE() << "the registry is another one, see " << seen;
}

} // namespace
} // namespace vantorel::machines
