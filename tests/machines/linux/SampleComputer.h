// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "FakeSysfs.h"

#include <string>

namespace vantorel::test {

inline constexpr const char* sataPort = "pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0";

/// VPD page 89h with these texts in its IDENTIFY data, for a drive with SMART of that nominal rotation rate.
inline std::string page89(std::string serial, std::string firmware, std::string model, unsigned rotationRate = 7200)
{
    std::string page(572, '\0');
    page[1] = '\x89';
    const auto put = [&page](std::size_t word, std::string text, std::size_t length) {
        text.resize(length, ' ');
        for (std::size_t i = 0; i < length; ++i)
            page[60 + 2 * word + (i ^ 1U)] = text[i];
    };
    put(10, std::move(serial), 20);
    put(23, std::move(firmware), 8);
    put(27, std::move(model), 40);
    page[60 + 2 * 82] = 1;
    page[60 + 2 * 83 + 1] = 0x40;
    page[60 + 2 * 217] = static_cast<char>(rotationRate);
    page[60 + 2 * 217 + 1] = static_cast<char>(rotationRate >> 8U);
    return page;
}

/// A hard disk with two partitions at the first port: an EFI system partition and one for Linux.
inline void addHardDisk(const FakeSysfs& sysfs)
{
    const std::string disk = std::string(sataPort) + "/block/sda";
    sysfs.folder("pci0000:00/0000:00:1f.2", {{"class", "0x010601\n"}, {"vendor", "0x8086\n"}, {"device", "0x2922\n"}});
    sysfs.link("sys/devices/pci0000:00/0000:00:1f.2/driver", "../../../bus/pci/drivers/ahci");
    sysfs.folder(sataPort, {{"vendor", "ATA     \n"},
                            {"model", "WDC WD2003FYYS-0\n"},
                            {"rev", "1D01\n"},
                            {"vpd_pg89", page89("WD-WMAY00000017", "01.01D01", "WDC WD2003FYYS-02W0B1")}});
    sysfs.block(disk, 8, 0, 11, 3907029168,
                "DEVTYPE=disk\nID_PART_TABLE_TYPE=gpt\nID_PART_TABLE_UUID=39f3910e-e324-4dcb-8871-52aad3947d77\n",
                {{"queue/rotational", "1\n"},
                 {"queue/logical_block_size", "512\n"},
                 {"queue/discard_max_bytes", "0\n"},
                 {"removable", "0\n"},
                 {"stat", "       3  4 24 5  6 7 80 9 0 10 11 0 0 0 0 0 0\n"}});
    sysfs.link("sys/devices/" + disk + "/device", "../../../0:0:0:0");
    sysfs.block(disk + "/sda1", 8, 1, 11, 1048576,
                "DEVTYPE=partition\nPARTN=1\nPARTNAME=EFI System Partition\nID_PART_ENTRY_SCHEME=gpt\n"
                "ID_PART_ENTRY_TYPE=c12a7328-f81f-11d2-ba4b-00a0c93ec93b\n"
                "ID_PART_ENTRY_UUID=0f8a32da-865c-43d8-a285-b099ba83cbba\n"
                "ID_FS_TYPE=vfat\nID_FS_USAGE=filesystem\nID_FS_UUID=67E3-17ED\n",
                {{"partition", "1\n"}, {"start", "2048\n"}});
    sysfs.block(disk + "/sda2", 8, 2, 11, 3905978368,
                "DEVTYPE=partition\nPARTN=2\nID_PART_ENTRY_SCHEME=gpt\n"
                "ID_PART_ENTRY_TYPE=0fc63daf-8483-4772-8e79-3d69d8477de4\nID_PART_ENTRY_NAME=Linux\\x20root\n"
                "ID_PART_ENTRY_UUID=a9d31451-02be-479a-8509-730910c8b811\n"
                "ID_FS_TYPE=ext4\nID_FS_USAGE=filesystem\nID_FS_LABEL_ENC=my\\x20root\n"
                "ID_FS_UUID=892b4846-b035-4811-9c99-0298d22c35ab\n",
                {{"partition", "2\n"}, {"start", "1050624\n"}});
}

/// On the second partition of the hard disk an encrypted layer and in it two logical volumes, "root" and "my-swap";
/// beside them an image.
inline void addVolumesInLayers(const FakeSysfs& sysfs)
{
    const auto mapping = [&sysfs](int minor, const std::string& name, const std::string& uuid,
                                  const std::string& below) {
        const std::string path = "virtual/block/dm-" + std::to_string(minor);
        sysfs.block(path, 253, minor, 50 + minor, 1000 + minor, "", {{"dm/name", name}, {"dm/uuid", uuid}});
        sysfs.link("sys/devices/" + path + "/slaves/" + below, "../" + below);
    };
    const std::string group = "LVM-Zvt8XeAbCdEfGhIjKlMnOpQrStUvWxYz";
    mapping(0, "vg-root", group + "11111111111111111111111111111111", "dm-2"); // told before what it lies on
    mapping(1, "vg-my--swap", group + "22222222222222222222222222222222", "dm-2");
    mapping(2, "sda2_crypt", "CRYPT-LUKS2-5fbfbd6f4a8c4d0f9a7c1e2d3c4b5a69-sda2_crypt", "sda2");
    sysfs.block("virtual/block/loop3", 7, 3, 60, 131072, "", {{"loop/backing_file", "/var/lib/core_1.snap\n"}});
}

/// Drives of every other road, one of each.
inline void addOtherDrives(const FakeSysfs& sysfs)
{
    const auto addPci = [&sysfs](const std::string& address, const char* code) {
        sysfs.folder("pci0000:00/" + address, {{"class", code}});
        return "pci0000:00/" + address;
    };
    const auto attach = [&sysfs](const std::string& device, const std::string& disk, const char* target) {
        sysfs.link("sys/devices/" + device + "/block/" + disk + "/device", target);
    };

    const std::string nvme = addPci("0000:00:04.0", "0x010802\n") + "/nvme/nvme0";
    sysfs.folder(nvme, {{"model", "Samsung SSD 970 EVO Plus 250GB          \n"},
                        {"serial", "S4EUNX0N123456      \n"},
                        {"firmware_rev", "2B2QEXM7\n"},
                        {"transport", "pcie\n"}});
    sysfs.block(nvme + "/nvme0n1", 259, 0, 12, 488397168, "",
                {{"nsid", "1\n"}, {"queue/rotational", "0\n"}, {"queue/discard_max_bytes", "2199023255040\n"}});

    const std::string port = addPci("0000:00:03.0", "0x0c0330\n") + "/usb2/2-1";
    sysfs.folder(port, {{"devnum", "7\n"},
                        {"idVendor", "152d\n"},
                        {"idProduct", "0578\n"},
                        {"bcdDevice", "1402\n"},
                        {"speed", "5000\n"},
                        {"product", "NVMe case\n"},
                        {"serial", "DD5641988396B\n"}});
    const std::string stick = port + "/2-1:1.0/host6/target6:0:0/6:0:0:0";
    sysfs.folder(stick,
                 {{"vendor", "SanDisk \n"}, {"model", "Cruzer Glide    \n"}, {"rev", "1.27\n"}, {"type", "0\n"}});
    sysfs.block(stick + "/block/sdb", 8, 16, 13, 60062500, "", {{"removable", "1\n"}, {"queue/rotational", "1\n"}});
    attach(stick, "sdb", "../../../6:0:0:0");

    const std::string sas = addPci("0000:00:05.0", "0x010700\n") + "/host7/port-7:0/end_device-7:0/target7:0:0/7:0:0:0";
    sysfs.folder(sas, {{"vendor", "SEAGATE \n"},
                       {"model", "ST600MM0006     \n"},
                       {"rev", "LS0A\n"},
                       {"type", "0\n"},
                       {"vpd_pg80", std::string("\0\x80\0\x08S0M2T7XX", 12)}});
    sysfs.block(sas + "/block/sdc", 8, 32, 14, 1172123568, "", {{"queue/rotational", "1\n"}});
    attach(sas, "sdc", "../../../7:0:0:0");

    const std::string card = addPci("0000:00:07.0", "0x080501\n") + "/mmc_host/mmc0/mmc0:aaaa";
    sysfs.folder(card, {{"name", "SC16G\n"}, {"serial", "0x2b8d9d4e\n"}, {"type", "SD\n"}});
    sysfs.block(card + "/block/mmcblk0", 179, 0, 15, 31116288, "", {{"queue/rotational", "0\n"}});
    attach(card, "mmcblk0", "../../../mmc0:aaaa");
    sysfs.block(card + "/block/mmcblk0boot0", 179, 8, 16, 8192);

    sysfs.block(addPci("0000:00:06.0", "0x010000\n") + "/virtio2/block/vda", 254, 0, 17, 65536, "",
                {{"serial", "VTVIRT0006\n"}, {"queue/rotational", "1\n"}});
}

} // namespace vantorel::test
