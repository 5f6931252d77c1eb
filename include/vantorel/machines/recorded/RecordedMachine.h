// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/machines/recorded/Recording.h"
#include "vantorel/system/Machine.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {
namespace recorded {

/// Who lets the later events of a recording happen.
enum class Playback {
    inTime, ///< a thread of the machine's own, each at its time after the start
    byHand, ///< `playUntil`
};

/// The computer that a recording tells of. It is made from a recording, installed once, and lives until another machine
/// is installed or the process ends.
class RecordedMachine final : public system::Machine {
public:
    explicit RecordedMachine(Recording recording, Playback playback = Playback::inTime);
    ~RecordedMachine() override;

    /// Lets everything happen that is to happen up to so many seconds after the start, in order, on the calling thread.
    void playUntil(double seconds);

    void start(system::MachineEvents& events) override;
    [[nodiscard]] std::optional<std::vector<std::string>> mountPoints() override;
    [[nodiscard]] std::optional<system::FileSystemFacts> fileSystem(const std::string& path) override;
    [[nodiscard]] system::OpenedChannel<system::AtaChannel> openAta(std::uint64_t entry) override;
    [[nodiscard]] system::OpenedChannel<system::NvmeChannel> openNvme(std::uint64_t entry) override;
    [[nodiscard]] std::optional<system::DriveObstacle> whyNotOpened(std::uint64_t entry) override;

private:
    /// A drive, which the channels to it share with the machine.
    struct Drive {
        RecordedDrive recorded;
        std::atomic<bool> isPresent{true};
    };

    void addDrives(Recording& recording);
    void keepChanging();
    void play(RecordedStep& step);
    void playInTime();
    void change(RecordedStep::Change step);
    void setVolume(RecordedVolume volume);
    void addVolume(RecordedVolume volume);
    [[nodiscard]] const RecordedVolume* mountedAt(const std::string& mountPoint) const;
    [[nodiscard]] system::IOReturn open(std::uint64_t entry, RecordedDrive::Kind kind,
                                        std::shared_ptr<Drive>& drive) const;

    std::vector<system::RegistryEntry> entries_; // until the start
    std::map<std::uint64_t, std::shared_ptr<Drive>> drives_;
    std::unordered_map<std::uint64_t, std::vector<Drive*>> standingOn_; // the drives that go with an entry
    std::unordered_map<std::uint64_t, PropertyTable> changing_; // the properties of entries that the script changes
    std::vector<RecordedStep> script_;
    std::size_t nextStep_ = 0;
    const Playback playback_;
    system::MachineEvents* events_ = nullptr;

    std::mutex volumesMutex_;
    std::vector<RecordedVolume> volumes_;
    std::unordered_map<std::string, std::size_t> volumesByDisk_;
    std::set<std::pair<std::string, std::size_t>> mounts_; // mount point and index of the volume

    std::mutex endMutex_;
    std::condition_variable end_;
    bool isEnding_ = false;
    std::thread player_;
};

} // namespace recorded
} // namespace vantorel
