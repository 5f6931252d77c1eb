// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Sysfs.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What one look at the kernel's files and at udev's database found, as plain records. Paths are absolute; texts are
/// stripped UTF-8 and empty when they are not known.
namespace vantorel::machines {

struct PciFunction {
    std::string address; ///< "0000:00:1f.2"
    std::string driver;  ///< "ahci"
    std::uint64_t classCode = 0;
    std::uint64_t vendor = 0;
    std::uint64_t device = 0;
    bool isPluggable = false; ///< on a cable, such as Thunderbolt
};

struct UsbDevice {
    std::string port;     ///< "2-1.4"
    std::string number;   ///< of the bus; every plugging in gives a new one
    std::string vendorId; ///< four hexadecimal digits, as `productId` and `version`
    std::string productId;
    std::string version;
    std::string manufacturer;
    std::string product;
    std::string serial;
    std::uint64_t megabits = 0; ///< speed a second
    bool isBuiltIn = false;
};

struct NvmeController {
    std::string name; ///< "nvme0"
    std::string model;
    std::string serial;
    std::string firmware;
    std::string transport; ///< "pcie", "tcp", …
};

/// The road from the computer to a disk.
enum class Road {
    unknown,
    ahci,
    ata, ///< through another controller for ATA
    scsi,
    usb,
    nvme,
    card, ///< SD and MMC
    hypervisor,
    memory, ///< RAM disks
};

/// What stands behind a whole disk that is a device of its own.
struct Hardware {
    Road road = Road::unknown;
    std::string interconnect; ///< in the platform's words, such as "SATA"
    std::optional<bool> isInternal;
    std::string address; ///< SCSI address "1:0:0:0" or number of the name space
    std::string product;
    std::string vendor;
    std::string revision;
    std::string serial;
    std::optional<bool> isSolidState;
    bool isAta = false; ///< takes ATA commands, by itself or behind a translating controller
    bool isOptical = false;
    std::optional<bool> hasSmart; ///< by the drive's own identity
    bool isCut = false;           ///< `product` and `revision` may be no more than the ends of the drive's own texts
    std::shared_ptr<const PciFunction> pci;
    std::shared_ptr<const UsbDevice> usb;
    std::shared_ptr<const NvmeController> nvme;
};

struct Partition {
    std::uint64_t number = 0;
    std::uint64_t start = 0; ///< bytes
    std::string whole;       ///< kernel name of its disk
};

struct RaidSlot {
    std::string device;                ///< kernel name
    std::optional<std::uint64_t> slot; ///< none for a spare and for a failed disk
    std::string state;                 ///< "in_sync", "faulty,write_mostly", "spare", …
};

/// An array of the md driver.
struct RaidArray {
    std::string level; ///< "raid1"
    std::string state; ///< `array_state`: "clean", "active", "inactive", …
    std::uint64_t disks = 0;
    std::uint64_t degraded = 0;
    std::vector<RaidSlot> members; ///< by slot; spares and faulty ones behind
};

/// A mapping of the device mapper.
struct Mapping {
    std::string name; ///< "debian-root"
    std::string uuid; ///< "LVM-…", "CRYPT-LUKS2-…", "mpath-…"
};

struct BlockDevice {
    std::string kernelName; ///< the folder's, in which "!" stands for "/"
    std::string name;       ///< under /dev
    std::string path;       ///< its folder in sysfs, "/sys/devices/…"
    std::uint64_t major = 0;
    std::uint64_t minor = 0;
    std::optional<std::uint64_t> sequence; ///< of the attach: a number that no other disk has had since the start
    std::uint64_t size = 0;                ///< bytes
    std::uint64_t blockSize = 512;
    bool isReadOnly = false;
    bool isRemovable = false;
    bool isSolidState = false; ///< by the kernel's flag, which says false where it does not know
    bool canDiscard = false;
    std::optional<Partition> partition;
    std::optional<RaidArray> raid;
    std::optional<Mapping> mapping;
    std::optional<std::string> backingFile; ///< of a loop device
    std::vector<std::string> lower;         ///< kernel names of what an array or a mapping lies on
    std::optional<Hardware> hardware;       ///< of a whole disk that is none of these
    DeviceProperties properties;            ///< of `uevent` and udev, or of the superblocks
    int unit = 0;                           ///< shared by a whole disk and its partitions; no other attach has had it
};

struct Platform {
    std::string uuid; ///< of the board, or derived from the system's own id
    std::string manufacturer;
    std::string model;
    std::string serial;
};

struct SystemScan {
    Platform platform;
    std::vector<BlockDevice> devices; ///< whole disks before partitions and what is below before what lies on it
};

} // namespace vantorel::machines
