// SPDX-License-Identifier: GPL-2.0-or-later
#include "machines/linux/EntryLedger.h"

#include "SampleComputer.h"
#include "machines/linux/Attachments.h"
#include "machines/linux/BlockScan.h"
#include "machines/linux/NameUuid.h"
#include "machines/linux/RegistryEntries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace vantorel::machines {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Writes down what is told of disks, and checks that every entry is told after its parents and no id comes twice.
class Listener final : public system::MachineEvents {
public:
    void entryArrived(system::RegistryEntry entry) override
    {
        for (const std::uint64_t parent : entry.parents)
            EXPECT_TRUE(present.contains(parent)) << entry.name;
        const auto name = entry.properties.get<std::string>("BSD Name");
        const bool isNew = present.emplace(entry.id, name.value_or("")).second;
        EXPECT_TRUE(!isNew || ids.insert(entry.id).second) << entry.name;
        if (name || !isNew)
            told.push_back((isNew ? "+" : "*") + name.value_or(entry.name));
    }
    void entryChanged(std::uint64_t id, PropertyTable /*properties*/) override { told.push_back("~" + present.at(id)); }
    void entryRemoved(std::uint64_t id) override
    {
        if (!present.at(id).empty())
            told.push_back("-" + present.at(id));
        present.erase(id);
    }
    void volumeChanged(std::string bsdName, system::VolumeFacts /*facts*/) override { told.push_back("v" + bsdName); }

    std::vector<std::string> take() { return std::exchange(told, {}); }

    std::vector<std::string> told;
    std::map<std::uint64_t, std::string> present;
    std::set<std::uint64_t> ids;
};

/// A computer that is looked at again and again.
class EntryLedgerTest : public testing::Test {
protected:
    std::vector<std::string> look(const std::set<std::string, std::less<>>& changed = {},
                                  const std::set<std::string, std::less<>>& removed = {})
    {
        const ScanSources sources{.sysfs = sysfs.sysfs(), .etc = sysfs.path("etc")};
        scan = isFirst ? scanSystem(sources) : scanSystem(sources, &scan, changed);
        isFirst = false;
        attachments.assign(scan, removed);
        VolumesByName volumes;
        for (const BlockDevice& device : scan.devices)
            volumes[device.name].name = std::string(valueOf(device.properties, "ID_FS_LABEL_ENC"));
        ledger.tell(registryEntries(scan, nullptr), volumes, listener);
        return listener.take();
    }

    test::FakeSysfs sysfs;
    SystemScan scan;
    bool isFirst = true;
    Attachments attachments;
    EntryLedger ledger;
    Listener listener;
    const std::string disk = std::string(test::sataPort) + "/block/sda";
};

TEST_F(EntryLedgerTest, TellsArrivalsDownwardsAndRemovalsUpwards)
{
    addHardDisk(sysfs);
    EXPECT_THAT(look(), ElementsAre("vsda", "vsda1", "vsda2", "+sda", "+sda1", "+sda2"));
    EXPECT_THAT(look({"sda", "sda1", "sda2"}), IsEmpty()); // looked at again, and all the same

    sysfs.write("sys/devices/" + disk + "/size", "3907029160\n");
    EXPECT_THAT(look(), IsEmpty()); // no event, no look
    EXPECT_THAT(look({"sda"}), ElementsAre("~sda"));
    sysfs.write("sys/devices/" + disk + "/sda1/ro", "1\n");
    isFirst = true; // events were lost: everything is read again
    EXPECT_THAT(look(), ElementsAre("~sda1"));

    sysfs.remove(disk + "/sda1");
    EXPECT_THAT(look({"sda1"}), ElementsAre("-sda1"));
    sysfs.remove(disk + "/sda2");
    sysfs.remove(disk);
    EXPECT_THAT(look({"sda", "sda2"}), ElementsAre("-sda2", "-sda"));
    EXPECT_EQ(listener.present.size(), 1U); // the computer: no controller is left without a disk
}

TEST_F(EntryLedgerTest, AnotherDiskUnderTheSameNameIsAnother)
{
    addHardDisk(sysfs);
    look();
    sysfs.remove(disk + "/sda1");
    sysfs.remove(disk + "/sda2");
    sysfs.block(disk, 8, 0, 21, 3907029168); // no look fell between the two
    EXPECT_THAT(look({"sda", "sda1", "sda2"}), ElementsAre("-sda2", "-sda1", "-sda", "vsda", "+sda"));

    // A kernel that does not count attaches says only that one went.
    const std::string card = "virtual/block/vdb";
    const auto write = [&] { sysfs.write("sys/devices/" + card + "/uevent", "MAJOR=254\nMINOR=1\n"); };
    sysfs.block(card, 254, 1, 1, 64);
    write();
    look({"vdb"});
    EXPECT_THAT(look({"vdb"}), IsEmpty());
    EXPECT_THAT(look({"vdb"}, {"vdb"}), ElementsAre("-vdb", "vvdb", "+vdb"));
}

TEST_F(EntryLedgerTest, WhatIsMadeOfSeveralDisksOutlivesOneOfThem)
{
    sysfs.block("virtual/block/vda", 254, 0, 1, 64);
    sysfs.block("virtual/block/vdb", 254, 1, 2, 64);
    const auto member = [this](const std::string& name, const char* slot) {
        sysfs.write("sys/devices/virtual/block/md0/md/dev-" + name + "/slot", slot);
        sysfs.write("sys/devices/virtual/block/md0/md/dev-" + name + "/state", "in_sync");
    };
    sysfs.block("virtual/block/md0", 9, 0, 3, 60, "", {{"md/level", "raid1"}, {"md/raid_disks", "2"}});
    member("vda", "0");
    member("vdb", "1");
    EXPECT_THAT(look(), ElementsAre("vmd0", "vvda", "vvdb", "+vda", "+vdb", "+md0"));

    sysfs.remove("virtual/block/md0/md/dev-vda");
    sysfs.remove("virtual/block/vda");
    EXPECT_THAT(look({"vda"}), ElementsAre("-vda", "~")); // the set says what it has left
    sysfs.block("virtual/block/vdc", 254, 2, 4, 64);
    member("vdc", "0");
    EXPECT_THAT(look({"vdc"}), ElementsAre("vvdc", "+vdc", "*AppleRAIDSet"));
}

TEST_F(EntryLedgerTest, AVolumeThatMovesToAnotherDiskIsToldAnew)
{
    sysfs.block("virtual/block/vda", 254, 0, 1, 64);
    sysfs.block("virtual/block/vdb", 254, 1, 2, 64);
    sysfs.block("virtual/block/dm-0", 253, 0, 3, 60, "", {{"dm/name", "data"}});
    sysfs.link("sys/devices/virtual/block/dm-0/slaves/vda", "x");
    look();
    std::filesystem::rename(sysfs.path("sys/devices/virtual/block/dm-0/slaves/vda"),
                            sysfs.path("sys/devices/virtual/block/dm-0/slaves/vdb"));
    EXPECT_THAT(look({"dm-0"}), ElementsAre("-dm-0", "vdm-0", "~vda", "~vdb", "+dm-0"));
}

TEST(NameUuid, IsThatOfRfc9562)
{
    const auto dns = base::Uuid::parse("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
    EXPECT_EQ(nameUuid(*dns, "www.example.com").text(), "2ED6657D-E927-568B-95E1-2665A8AEA6A2");
    const std::string beyondOneBlock(100, 'a');
    EXPECT_NE(nameUuid(beyondOneBlock), nameUuid(beyondOneBlock + "a"));
}

} // namespace

} // namespace vantorel::machines
