// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "Attachments.h"
#include "BlockScan.h"
#include "EntryLedger.h"
#include "LinuxEvents.h"
#include "LinuxVolumes.h"
#include "MountTable.h"
#include "RegistryEntries.h"
#include "Udev.h"
#include "channels/LinuxChannels.h"
#include "vantorel/system/Machine.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace vantorel::machines {

struct LinuxOptions {
    std::string sysfs = "/sys"; ///< where sysfs is mounted
    std::string etc = "/etc";   ///< the folder of "machine-id"
    std::string mountTable = "/proc/self/mountinfo";
    bool readsSuperblocks = true; ///< of devices that udev knows nothing of
    Udev::Source events = Udev::speaker();
    EventTimes times;
    channels::ChannelOptions channels;
};

/// The computer of `thisComputer`, at whose places a test may put others.
class LinuxMachine final : public system::Machine {
public:
    explicit LinuxMachine(LinuxOptions options = {});
    ~LinuxMachine() override;

    void start(system::MachineEvents& events) override;
    [[nodiscard]] std::optional<std::vector<std::string>> mountPoints() override;
    [[nodiscard]] std::optional<system::FileSystemFacts> fileSystem(const std::string& path) override;
    [[nodiscard]] std::string temporaryDirectory() override;
    [[nodiscard]] std::optional<PropertyTable> currentProperties(std::uint64_t entry) override;
    [[nodiscard]] system::OpenedChannel<system::AtaChannel> openAta(std::uint64_t entry) override;
    [[nodiscard]] system::OpenedChannel<system::NvmeChannel> openNvme(std::uint64_t entry) override;
    [[nodiscard]] std::optional<system::DriveObstacle> whyNotOpened(std::uint64_t entry) override;

private:
    /// What other threads may ask about, replaced as a whole after each look.
    struct Known {
        MountedDevices mounted;
        std::unordered_map<std::uint64_t, channels::DeviceNode> nodes; ///< the disk behind an entry
        std::unordered_map<std::uint64_t, std::string> counters;       ///< and its folder in sysfs
    };

    void look(const SystemScan* before, const DeviceChanges& changes);
    void publish(const MountedDevices& mounted, const AnsweredEntries& answered);
    void lookAtMounts();
    [[nodiscard]] std::shared_ptr<const Known> known() const;
    [[nodiscard]] std::optional<channels::DeviceNode> nodeOf(std::uint64_t entry) const;
    [[nodiscard]] Commands commandsOf(const BlockDevice& disk);
    void completeIdentity(const BlockDevice& disk, Hardware& hardware);

    const LinuxOptions options_;
    MountTable mounts_;
    channels::DriveChannels channels_;
    system::MachineEvents* events_ = nullptr;

    // Of the thread that looks: the one that starts the machine, and then that of the events.
    std::unique_ptr<Udev> udev_;
    ScanSources sources_;
    SystemScan scan_;
    Attachments attachments_;
    EntryLedger ledger_;
    std::atomic<bool> hasArrays_{false};

    mutable std::mutex knownMutex_;
    std::shared_ptr<const Known> known_;

    std::unique_ptr<LinuxEvents> watch_; ///< the last to be made and the first to go
};

} // namespace vantorel::machines
