// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/Installation.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::test {

/// A machine whose tree, volumes and later events a test puts together by hand. Install it through
/// `TestMachine::install`, which gives a reference that stays good while the machine is installed.
class TestMachine final : public system::Machine {
public:
    /// Installs a machine with these entries, parents before children.
    static TestMachine& install(std::vector<system::RegistryEntry> entries = {})
    {
        auto owned = std::make_unique<TestMachine>(std::move(entries));
        TestMachine& machine = *owned;
        system::install(std::move(owned));
        return machine;
    }

    explicit TestMachine(std::vector<system::RegistryEntry> entries) : entries_(std::move(entries)) {}

    // Later events, delivered as any machine's are.
    void arrive(system::RegistryEntry entry) { events_->entryArrived(std::move(entry)); }
    void change(std::uint64_t id, PropertyTable properties) { events_->entryChanged(id, std::move(properties)); }
    void remove(std::uint64_t id) { events_->entryRemoved(id); }
    void setVolume(const std::string& bsdName, system::VolumeFacts facts)
    {
        events_->volumeChanged(bsdName, std::move(facts));
    }

    // Answers to the questions of a machine; to be filled before they are asked.
    std::map<std::uint64_t, PropertyTable> current; ///< properties that change without being told, by entry
    std::optional<std::vector<std::string>> mounted = std::vector<std::string>{};
    std::map<std::string, system::FileSystemFacts> fileSystems; ///< by mount point
    std::map<std::string, std::string, std::less<>> bundles;
    /// How the drive behind an entry ends each command that it is sent; there is a channel to those named here only.
    std::map<std::uint64_t, std::function<system::AtaResult(const system::AtaCommand&)>> ataDrives;
    std::map<std::uint64_t, std::function<system::NvmeResult(const system::NvmeCommand&)>> nvmeDrives;
    system::IOReturn openStatus = system::kIOReturnSuccess;   ///< of every channel
    std::function<void()> whenOpened;                         ///< called by each opening of a channel
    std::map<std::uint64_t, system::DriveObstacle> obstacles; ///< by entry
    std::atomic<int> openChannels = 0;

    void start(system::MachineEvents& events) override
    {
        events_ = &events;
        for (system::RegistryEntry& entry : std::exchange(entries_, {}))
            events.entryArrived(std::move(entry));
    }
    std::optional<std::vector<std::string>> mountPoints() override { return mounted; }
    std::optional<system::FileSystemFacts> fileSystem(const std::string& path) override
    {
        const auto found = fileSystems.find(path);
        return found == fileSystems.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<std::string> bundleLocation(std::string_view identifier) override
    {
        const auto found = bundles.find(identifier);
        return found == bundles.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<PropertyTable> currentProperties(std::uint64_t entry) override
    {
        const auto found = current.find(entry);
        return found == current.end() ? std::nullopt : std::optional(found->second);
    }
    system::OpenedChannel<system::AtaChannel> openAta(std::uint64_t entry) override
    {
        return open<system::AtaChannel, system::AtaCommand, system::AtaResult>(ataDrives, entry);
    }
    system::OpenedChannel<system::NvmeChannel> openNvme(std::uint64_t entry) override
    {
        return open<system::NvmeChannel, system::NvmeCommand, system::NvmeResult>(nvmeDrives, entry);
    }
    std::optional<system::DriveObstacle> whyNotOpened(std::uint64_t entry) override
    {
        const auto found = obstacles.find(entry);
        return found == obstacles.end() ? std::nullopt : std::optional(found->second);
    }

private:
    template <typename Base, typename Command, typename Result>
    class Channel final : public Base {
    public:
        Channel(std::function<Result(const Command&)> answer, std::atomic<int>& count)
            : answer_(std::move(answer)), count_(count)
        {
            ++count_;
        }
        ~Channel() override { --count_; }
        Result execute(const Command& command) override { return answer_(command); }

    private:
        std::function<Result(const Command&)> answer_;
        std::atomic<int>& count_;
    };

    template <typename Base, typename Command, typename Result, typename Drives>
    system::OpenedChannel<Base> open(const Drives& drives, std::uint64_t entry)
    {
        if (whenOpened)
            whenOpened();
        const auto drive = drives.find(entry);
        if (openStatus != system::kIOReturnSuccess || drive == drives.end())
            return {openStatus != system::kIOReturnSuccess ? openStatus : system::kIOReturnUnsupported, nullptr};
        return {system::kIOReturnSuccess,
                std::make_unique<Channel<Base, Command, Result>>(drive->second, openChannels)};
    }

    std::vector<system::RegistryEntry> entries_;
    system::MachineEvents* events_ = nullptr;
};

} // namespace vantorel::test
