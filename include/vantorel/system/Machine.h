// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"
#include "vantorel/base/Uuid.h"
#include "vantorel/system/IOReturn.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The seam between the library and the computer it looks at. Everything that differs from one computer to the next
/// is asked of a `Machine`; the registry, the disk service and the plug-ins above it are the same for all of them.
namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// One entry of the I/O registry in the plane "IOService", in the platform's own shape.
struct RegistryEntry {
    std::uint64_t id = 0;                 ///< unlike every other entry's, not 0, not used again when the entry is gone
    std::string name;                     ///< such as "IOBlockStorageDriver" or "EFI System Partition"
    std::string location;                 ///< what stands behind the "@", such as "1F,2"; empty when it has none
    std::string className;                ///< such as "IOMedia"
    std::vector<std::string> inheritance; ///< classes from the root class down, if known; else told from `className`
    std::vector<std::uint64_t> parents;   ///< ids, the main one first; several for a RAID set; none at the top
    PropertyTable properties;             ///< texts are UTF-8
};

/// What a machine knows of the volume on a disk. Absent values are left out of the disk's description.
struct VolumeFacts {
    std::optional<std::string> kind; ///< file system: "apfs", "hfs", "msdos", "ntfs", …
    std::optional<std::string> name;
    std::optional<base::Uuid> uuid;
    std::optional<bool> mountable;
    std::vector<std::string> mountPoints; ///< absolute paths, the main one first; empty when not mounted
};

/// What a machine knows of the file system that a path lies on.
struct FileSystemFacts {
    std::string bsdName;    ///< device name such as "disk1s5"; empty for a file system without a device
    std::string mountPoint; ///< where it is mounted
    std::uint64_t size = 0; ///< bytes
    std::uint64_t free = 0; ///< bytes
    bool writable = true;
};

/// How long one command may take before it ends with `kIOReturnTimeout`.
inline constexpr std::chrono::milliseconds smartCommandTimeout{30'000};

/// One ATA command as it stands in the task file (ATA8-ACS: SMART is command B0h, IDENTIFY DEVICE ECh).
struct AtaCommand {
    std::uint8_t command = 0;
    std::uint8_t feature = 0;     ///< of SMART: D0h read data, D1h read thresholds, D2h autosave, D4h off-line, …
    std::uint8_t count = 0;       ///< sectors to move, or the command's own value
    std::uint32_t lba = 0;        ///< 24 bits: low, mid and high; of SMART mid and high are 4Fh and C2h
    std::span<std::uint8_t> read; ///< where the drive's data go; empty for a command without data from the drive
    DataView write;               ///< what the drive is sent; empty for a command without data to the drive
    std::chrono::milliseconds timeout = smartCommandTimeout;
};

/// How an ATA command ended. `status` is `kIOReturnSuccess`, `kIOReturnUnsupported` when the drive aborted it,
/// `kIOReturnNotReadable`, `kIOReturnNotWritable`, `kIOReturnIOError`, `kIOReturnTimeout` or `kIOReturnNoDevice`;
/// `kIOReturnNotPermitted` for a command that the machine sends to no drive. SMART RETURN STATUS, which has no answer
/// but the address, ends with `kIOReturnUnsupported` where the address cannot be had.
struct AtaResult {
    IOReturn status = kIOReturnSuccess;
    std::size_t received = 0; ///< bytes put into `read`
    std::uint32_t lba = 0;    ///< the 24 bits the drive left in low, mid and high
};

/// One NVMe admin command (NVM Express Base Specification, submission queue entry).
struct NvmeCommand {
    std::uint8_t opcode = 0; ///< 02h get log page, 06h identify
    std::uint32_t nsid = 0;
    std::array<std::uint32_t, 6> cdw10to15{};
    std::span<std::uint8_t> read; ///< where the controller's data go
    std::chrono::milliseconds timeout = smartCommandTimeout;
};

/// How an NVMe command ended, in the codes of `AtaResult`.
struct NvmeResult {
    IOReturn status = kIOReturnSuccess;
    std::size_t received = 0;           ///< bytes put into `read`
    std::uint16_t completionStatus = 0; ///< status code type and code of the completion (bits 8-10 and 0-7)
};

/// A road to one ATA drive. A command blocks its caller until it is answered or `timeout` is over, whichever is first.
/// Used by one thread at a time; the drive may go away at any moment, and every command then ends with
/// `kIOReturnNoDevice`. Nothing throws.
class AtaChannel {
public:
    AtaChannel() = default;
    AtaChannel(const AtaChannel&) = delete;
    AtaChannel& operator=(const AtaChannel&) = delete;
    virtual ~AtaChannel() = default;

    [[nodiscard]] virtual AtaResult execute(const AtaCommand& command) = 0;
};

/// A road to one NVMe controller, with the rules of `AtaChannel`.
class NvmeChannel {
public:
    NvmeChannel() = default;
    NvmeChannel(const NvmeChannel&) = delete;
    NvmeChannel& operator=(const NvmeChannel&) = delete;
    virtual ~NvmeChannel() = default;

    [[nodiscard]] virtual NvmeResult execute(const NvmeCommand& command) = 0;
};

/// What opening a channel gives: a status, and the channel when the status is `kIOReturnSuccess`. A failure is
/// `kIOReturnNoDevice`, `kIOReturnUnsupported` (no such channel here), `kIOReturnExclusiveAccess`,
/// `kIOReturnNotPrivileged`, `kIOReturnNotReady` (the drive sleeps, and a command would wake it) or how the first
/// command ended that opening took.
template <typename Channel>
struct OpenedChannel {
    IOReturn status = kIOReturnUnsupported;
    std::unique_ptr<Channel> channel;
};

/// Why a drive could not be opened, in words for the one who asked for it.
struct DriveObstacle {
    /// As the opening ended. `kIOReturnNotReady`: the drive sleeps and was left asleep, which is no fault of it.
    IOReturn status = kIOReturnError;
    std::string reason; ///< such as "It needs CAP_SYS_RAWIO and read access to /dev/sda."; UTF-8
    std::string remedy; ///< a command that helps, to be shown as it stands; empty when none does
};

/// Receives what a machine has to tell. Every operation may be called from any thread; what is told is taken up in the
/// order of telling, on the run loop on which a disk session is scheduled, or at once while there is none.
///
/// No order of events is wrong: an entry told twice takes the later properties and any parents that are new, an entry
/// told before its parents hangs at the top until one comes, parents stand in the order in which they were told
/// whenever they come, and changes and removals of unknown entries are passed over.
class MachineEvents {
public:
    virtual ~MachineEvents() = default;

    virtual void entryArrived(RegistryEntry entry) = 0;
    /// The entry's properties are now these; keys that are not among them are gone.
    virtual void entryChanged(std::uint64_t id, PropertyTable properties) = 0;
    /// The entry is gone, and everything that hung only under it.
    virtual void entryRemoved(std::uint64_t id) = 0;
    /// What is known of the volume on the disk of this device name is now this. Where there is no such disk it waits
    /// for the next one of that name; where a name has gone over to a new disk before the old one went, it is the new
    /// one's. It is forgotten with the disk.
    virtual void volumeChanged(std::string bsdName, VolumeFacts facts) = 0;
};

/// One computer. Every question has an answer here that fits a computer without disks, so a machine overrides only
/// what it knows. All but `start` may be called from any thread, and several at once.
class Machine {
public:
    Machine() = default;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;
    /// Ends every thread of its own; nothing is told once it returns.
    virtual ~Machine() = default;

    /// Tells all volumes and entries there are, parents before children, before it returns, and goes on telling what
    /// happens from then on. Called once. `events` lives longer than the machine.
    virtual void start(MachineEvents& events) = 0;

    /// The paths of all mounted volumes, in the order of mounting; absent when they cannot be had.
    [[nodiscard]] virtual std::optional<std::vector<std::string>> mountPoints();
    /// The file system that an existing path lies on; absent when there is none.
    [[nodiscard]] virtual std::optional<FileSystemFacts> fileSystem(const std::string& path);
    /// A folder of the machine for files that need not last, ending in "/".
    [[nodiscard]] virtual std::string temporaryDirectory();
    /// The folder of a bundle, such as the one of "com.apple.iokit.IOStorageFamily" with the disk icons.
    [[nodiscard]] virtual std::optional<std::string> bundleLocation(std::string_view identifier);

    // An opening that throws counts as one that failed with `kIOReturnError`.

    /// A channel to the drive behind the entry with this id, which declares itself "SMART Capable".
    [[nodiscard]] virtual OpenedChannel<AtaChannel> openAta(std::uint64_t entry);
    /// A channel to the controller behind the entry with this id, which declares itself "NVMe SMART Capable".
    [[nodiscard]] virtual OpenedChannel<NvmeChannel> openNvme(std::uint64_t entry);
    /// Those properties of the entry that change without being told, such as the "Statistics" of a block storage
    /// driver, as they stand now. Asked whenever the entry's properties are read, and put over those that were told;
    /// absent for an entry that has none. They are no part of a disk's description.
    [[nodiscard]] virtual std::optional<PropertyTable> currentProperties(std::uint64_t entry);

    /// Why the last opening of a channel to the drive behind this entry failed; absent when it did not, or when the
    /// machine knows no more than the status.
    [[nodiscard]] virtual std::optional<DriveObstacle> whyNotOpened(std::uint64_t entry);
};

} // namespace system
} // namespace vantorel
