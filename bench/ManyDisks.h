// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "machines/linux/FakeSysfs.h"

#include <string>

namespace vantorel::bench {

/// SATA disks at one controller, each with two partitions.
inline void addDisks(const test::FakeSysfs& sysfs, int count)
{
    const std::string controller = "pci0000:00/0000:00:1f.2";
    sysfs.folder(controller, {{"class", "0x010601\n"}});
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        const std::string target =
            controller + "/ata" + number + "/host" + number + "/target" + number + ":0:0/" + number + ":0:0:0";
        const std::string disk = target + "/block/sd" + number + "x";
        sysfs.folder(target, {{"vendor", "ATA     \n"}, {"model", "WDC WD2003FYYS-0\n"}, {"rev", "1D01\n"}});
        sysfs.block(disk, 8, 16 * i, i, 3907029168,
                    "ID_PART_TABLE_TYPE=gpt\nID_ATA=1\nID_MODEL_ENC=WDC\\x20WD2003FYYS\n",
                    {{"queue/rotational", "1\n"}, {"queue/logical_block_size", "512\n"}, {"removable", "0\n"}});
        sysfs.link("sys/devices/" + disk + "/device", "../../../" + number + ":0:0:0");
        for (int part = 1; part <= 2; ++part)
            sysfs.block(disk + "/sd" + number + "x" + std::to_string(part), 8, 16 * i + part, i, 1000,
                        "DEVTYPE=partition\nID_FS_TYPE=ext4\nID_FS_USAGE=filesystem\n",
                        {{"partition", std::to_string(part) + "\n"}, {"start", "64\n"}});
    }
}

} // namespace vantorel::bench
