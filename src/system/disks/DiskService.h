// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "system/registry/RegistryTree.h"
#include "vantorel/system/CoreFoundation.h"
#include "vantorel/system/DADisk.h"
#include "vantorel/system/Machine.h"
#include "vantorel/system/RunLoop.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace vantorel::system {

/// One thing that a machine has told.
struct EntryChange {
    std::uint64_t id;
    PropertyTable properties;
};
struct EntryRemoval {
    std::uint64_t id;
};
struct VolumeChange {
    std::string bsdName;
    VolumeFacts facts;
};
struct MachineGone {}; ///< and with it all its entries and volumes
using MachineEvent = std::variant<RegistryEntry, EntryChange, EntryRemoval, VolumeChange, MachineGone>;

/// One thing that a session is to hear.
struct DiskNews {
    enum class Kind { appeared, disappeared, changed };

    Kind kind;
    DADiskRef disk;
    std::shared_ptr<const PropertyArray> keys; ///< of a change
};

/// A client of the service. What it is to hear waits in `pending` until its run loop comes to it.
class DASession {
public:
    DADiskAppearedCallback appeared;
    void* appearedContext = nullptr;
    DADiskDisappearedCallback disappeared;
    void* disappearedContext = nullptr;
    DADiskDescriptionChangedCallback changed;
    void* changedContext = nullptr;

    CFRunLoopRef runLoop;         ///< null while not scheduled
    std::deque<DiskNews> pending; ///< guarded by the registry's lock
};

/// Holds the disks there are, and carries what the machine tells through the tree to the sessions.
///
/// Events wait in line and are taken up one by one on the run loop of the session that was scheduled first: the tree
/// changes, the sessions on that loop hear of it, and only then comes the next. A session on another run loop hears on
/// its own. Every step is a piece of work of its own on the run loop, so a callback that throws takes nothing with it.
class DiskService {
public:
    [[nodiscard]] static DiskService& shared();

    /// From any thread.
    void tell(MachineEvent event);

    void schedule(const DASessionRef& session, const CFRunLoopRef& runLoop);
    void unschedule(const DASessionRef& session);

    /// The description of a disk; null when it is gone, also when its entry is another disk by now.
    [[nodiscard]] PropertyTableRef description(const DADisk& disk);
    /// The media entry of a disk; null as above.
    [[nodiscard]] RegistryNodeRef mediaEntry(const DADisk& disk);
    /// The disk of this name, of several the one that came last; null when there is none.
    [[nodiscard]] DADiskRef diskNamed(const std::string& bsdName);

private:
    using Names = std::multimap<std::string, std::uint64_t>; // one name in order of arrival

    struct Disk {
        DADiskRef disk;
        PropertyTableRef description;
        std::optional<VolumeFacts> volume;
        Names::iterator name;
    };

    // All of these are called under the registry's lock.
    void apply(MachineEvent& event);
    void arrive(RegistryEntry& entry);
    void change(EntryChange& change);
    void remove(const EntryRemoval& removal);
    void takeUp(const RegistryTree::Removal& removal);
    void changeVolume(VolumeChange& change);
    void removeAll();
    void describeBelow(RegistryNode& node);
    void describe(const RegistryNode& node);
    void tellOfSet(const RegistryNode& set, const PropertyTable& before);
    void forget(std::uint64_t entryId);
    void spread(const DiskNews& news);
    void send(const DASessionRef& session, const DiskNews& news);
    [[nodiscard]] Disk* find(const std::string& bsdName);
    [[nodiscard]] const Disk* find(const DADisk& disk) const;
    [[nodiscard]] CFRunLoopRef home() const;
    void letNextCome();

    // These are not.
    void takeUpNext(std::uint64_t turn);
    static void deliverNext(const DASessionRef& session);

    std::deque<MachineEvent> waiting_;
    bool nextIsComing_ = false; // takeUpNext is on its way
    std::uint64_t turn_ = 0;    // another one whenever it has to come on another run loop
    std::vector<DASessionRef> scheduled_;
    std::unordered_map<std::uint64_t, Disk> disks_;             // by the id of the media entry
    Names byName_;                                              // a name may be in use again before it is given up
    std::unordered_map<std::string, VolumeFacts> volumesAhead_; // told before their disk, by its name
};

} // namespace vantorel::system
