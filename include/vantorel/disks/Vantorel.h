// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/disks/DiskListener.h"
#include "vantorel/disks/DiskLookUps.h"
#include "vantorel/disks/Drive.h"
#include "vantorel/disks/RaidStorage.h"
#include "vantorel/smart/records/AtaSmartObject.h"
#include "vantorel/smart/records/NvmeSmartObject.h"
#include "vantorel/system/NotificationCenter.h"

#include <memory>
#include <string_view>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {

class DiskList;

/// The registry: the live list of everything that the disk service reports.
///
/// `shared` makes it at first use; it lives until the process ends and there is no shut-down. The thread of that first
/// use owns the run loop on which removals and changes are handled, and when it ends the main thread does; arrivals are
/// handled on the main queue. There is no lock, so touch it first on the main thread, and call it there: then all of it
/// is one thread. Nothing is reported by throwing: a failure costs at most one line of the library's messages. When no
/// session with the disk service can be had the registry stays empty.
class Vantorel {
public:
    /// The one registry, safe against concurrent first use. The disks that exist already arrive like all others, from
    /// the host's run loop: the list may still be empty at return. A call from within its own start gives the registry
    /// as far as it is.
    [[nodiscard]] static Vantorel& shared();

    Vantorel(const Vantorel&) = delete;
    Vantorel& operator=(const Vantorel&) = delete;

    /// Every tracked disk, sorted by unit after each arrival. The list is good until the next event: copy it to keep
    /// it.
    [[nodiscard]] const std::vector<std::shared_ptr<Disk>>& disks() const;
    /// Replaces the list; no listener is told.
    void setDisks(std::vector<std::shared_ptr<Disk>> disks);

    /// The tracked drives, in list order.
    [[nodiscard]] std::vector<std::shared_ptr<Drive>> drives() const;
    /// A value to show where there is none yet.
    [[nodiscard]] static ATASmartValue dummyAta();
    /// A value to show where there is none yet.
    [[nodiscard]] static NVMeSmartValue dummyNvme();
    /// The tracked volumes without RAID sets, APFS containers and the physical volumes under CoreStorage, in list
    /// order.
    [[nodiscard]] std::vector<std::shared_ptr<Volume>> volumes() const;

    /// Has a listener told of every event from now on, also of the next one when it registers during an event. Disks
    /// already there are not told again. There is no way back; a listener registered twice is told twice.
    void registerListener(std::shared_ptr<DiskListener> listener);

    /// The volumes of one drive: those of its first APFS container, its CoreStorage volumes, its plain partitions, and
    /// the RAID sets that other partitions of it are members of, in this order; a set with two members twice.
    [[nodiscard]] std::vector<std::shared_ptr<Volume>> getVolumes(const Drive& drive) const;
    /// The RAID set that a partition is a member of, by the entry under its media entry; none for none, or while the
    /// set has not arrived.
    [[nodiscard]] std::shared_ptr<RaidStorage> raidMember(const system::DADiskRef& disk) const;
    /// The first of `drives` with this name; none for none.
    [[nodiscard]] std::shared_ptr<Drive> getDrive(std::string_view bsdName) const;
    /// The first of `volumes` with this name; none for none, also for a disk that `volumes` leaves out.
    [[nodiscard]] std::shared_ptr<Volume> getVolume(std::string_view bsdName) const;

    // The look-ups of DiskLookUps.h, under the registry's name.
    [[nodiscard]] static system::PropertyTableRef getDiskInfo(const system::DADiskRef& disk);
    [[nodiscard]] static system::PropertyTableRef getRegistryEntryForDisk(const system::DADiskRef& disk);
    [[nodiscard]] static system::PropertyTableRef getPropertiesForService(system::io_object_t serviceObject);

private:
    Vantorel();
    ~Vantorel();

    void start();
    void handleDiskAppeared(const system::DADiskRef& diskObject);
    void linkToPhysicalVolume(const std::shared_ptr<Disk>& disk) const;
    void linkToContainers(const std::shared_ptr<Volume>& volume) const;
    void diskAppeared(const system::Notification& notification);
    void diskDisappeared(const system::Notification& notification);
    void diskUpdated(const system::Notification& notification);
    void tellListeners(const std::shared_ptr<Disk>& disk, DiskEvent event) const;
    [[nodiscard]] std::shared_ptr<RaidStorage> getRaidStorageFromMember(const base::Uuid& uuid) const;

    std::vector<std::shared_ptr<DiskListener>> listeners_;
    std::unique_ptr<DiskList> disks_;
};

} // namespace vantorel
